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
    OutputFile() = default;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile(); // discards what was not committed

    // Every operation says true, or false with a few words in Problem().
    //
    // overwrite  whether an existing file may be replaced. It keeps its contents
    //            until Commit(), and its permissions after it
    [[nodiscard]] bool Open(const std::string& path, bool overwrite);
    [[nodiscard]] bool Write(std::span<const uint8_t> bytes);
    // Writes over the first bytes of a file; a direct output cannot go back.
    [[nodiscard]] bool WriteAtStart(std::span<const uint8_t> bytes);
    // Without `overwrite` a file that has appeared meanwhile is kept.
    [[nodiscard]] bool Commit();

    bool IsDirect() const { return m_temporary.empty(); }
    const std::string& Problem() const { return m_problem; }

private:
    bool OpenDirect(const std::string& path);
    bool OpenTemporary();
    bool PutInPlace();
    bool Fail(const std::string& what);
    void Discard();

    std::string m_path; // the output itself, links resolved
    std::string m_temporary;
    std::string m_problem;
    int m_descriptor = -1;
    bool m_overwrite = false;
};

// True when `path` is "-" or an existing file and names the same file as `other`.
bool IsSameFile(const std::string& path, const std::string& other);

} // namespace host
