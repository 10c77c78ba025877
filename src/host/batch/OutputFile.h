// SPDX-License-Identifier: MIT

// An output that appears whole or not at all.
#pragma once

#include "host/base/Problem.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace aiff::host
{

// What becomes of a file that already has the output's name.
enum class IfExists { Fail, Replace };

// How an output is put into its place.
struct OutputRules {
    IfExists ifExists = IfExists::Fail;
    bool sync = false; // Commit() returns when it will survive a loss of power
    // Makes the output's folder again. A process that has made a folder removes it when it has
    // nothing to put there, though another may be about to. May be empty.
    std::function<Problem()> makeFolder = {};
};

// The part of a path that names its folder, with the "/" at its end; "./" if there is none.
std::string FolderOf(const std::string& path);

// Flushes the folder that holds `path`, so that new names in it survive a loss of power.
Problem SyncFolderOf(const std::string& path);

// Writes into a file without a name, or with a temporary one where files need names, that
// takes the output's name on Commit() and is gone otherwise, even when the program is
// interrupted. Standard output ("-") and existing devices and pipes are written to directly.
class OutputFile
{
public:
    // Bytes are gathered in `buffer`, which the caller lends, and written when it is
    // full: file systems take writes of many whole pages fastest.
    explicit OutputFile(std::span<uint8_t> buffer) : m_buffer(buffer) {}
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile(); // discards what was not committed

    // Every problem names the output. A file that is replaced keeps its contents until
    // Commit(), and its permissions after it; whatever happens, even a loss of power, its name
    // has either the old contents or the new ones.
    Problem Open(const std::string& path, const OutputRules& rules);
    // Announces the final size, so that the file system can set the space aside at once
    // or say that there is not enough. For small files it does nothing.
    Problem Reserve(int64_t size);
    Problem Write(std::span<const uint8_t> bytes);
    // Overwrites bytes already written; a direct output cannot go back.
    Problem WriteAt(int64_t position, std::span<const uint8_t> bytes);
    // With IfExists::Fail, a file that has appeared in the meantime is kept.
    Problem Commit();
    // By which the output can be opened before Commit(), with all that was written until now. A
    // direct output cannot be read.
    Result<std::string> ReadablePath();

    // For writers that seek, between Open and Commit; -1 otherwise.
    int Descriptor() const { return m_descriptor; }
    // For messages: "'song.wav'" or "standard output".
    std::string Name() const;

    bool IsDirect() const { return m_isDirect; }

private:
    Problem OpenDirect();
    Problem OpenTemporary();
    Problem Flush();
    Problem Secure() const;
    template <class Call>
    bool InFolder(Call call) const;
    bool PutInPlace();
    bool TakeTemporaryName();
    Problem FailedCall() const;
    void Discard();

    std::span<uint8_t> m_buffer;
    size_t m_gathered = 0;   // bytes in the buffer
    std::string m_path;      // as the user named it
    std::string m_target;    // the output itself, links resolved
    std::string m_temporary; // its name until Commit(); empty when it has none
    int m_descriptor = -1;
    bool m_isDirect = false;
    OutputRules m_rules;
};

} // namespace aiff::host
