#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace host
{

// Writes an output whole or not at all: into a temporary file beside it, which
// takes the output's name on Commit() and is removed otherwise, also when the
// program is interrupted. Standard output ("-") and existing devices and pipes
// are written to directly.
class OutputFile
{
public:
    // Bytes are gathered in `buffer`, which the caller lends, and written when it is
    // full: writes of many whole pages are what a file system takes fastest.
    explicit OutputFile(std::span<uint8_t> buffer) : m_buffer(buffer) {}
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile(); // discards what was not committed

    // Every operation says true, or false with a few words in Problem().
    //
    // overwrite  whether an existing file may be replaced. It keeps its contents
    //            until Commit(), and its permissions after it
    [[nodiscard]] bool Open(const std::string& path, bool overwrite);
    // Tells how large the output is going to be, so that the file system finds room
    // for it at once; false when there is not enough.
    [[nodiscard]] bool Reserve(int64_t size);
    [[nodiscard]] bool Write(std::span<const uint8_t> bytes);
    // Writes over bytes already written; a direct output cannot go back.
    [[nodiscard]] bool WriteAt(int64_t position, std::span<const uint8_t> bytes);
    // Without `overwrite` a file that has appeared meanwhile is kept.
    [[nodiscard]] bool Commit();

    // For who writes by position instead, after Open and before Commit; -1 otherwise.
    int Descriptor() const { return m_descriptor; }

    bool IsDirect() const { return m_temporary.empty(); }
    const std::string& Problem() const { return m_problem; }

private:
    bool OpenDirect(const std::string& path);
    bool OpenTemporary();
    bool Flush();
    bool PutInPlace();
    bool Fail(const std::string& what);
    void Discard();

    std::span<uint8_t> m_buffer;
    size_t m_gathered = 0; // bytes in the buffer
    std::string m_path;    // the output itself, links resolved
    std::string m_temporary;
    std::string m_problem;
    int m_descriptor = -1;
    bool m_overwrite = false;
};

} // namespace host
