#pragma once

#include <string>
#include <vector>

namespace host
{

// What is to be said about the structure of an AIFF or AIFF-C file.
struct FileFindings {
    std::string problem;                // why it cannot be read as one; empty when it can
    std::vector<std::string> irregular; // sentences for people, in the order of the file

    bool IsReadable() const { return problem.empty(); }
    bool IsClean() const { return problem.empty() && irregular.empty(); }
};

// Walks a file strictly: sizes, pad bytes, the format against the sound, the tag. Reads
// headers and tags, not the sound.
FileFindings CheckFile(const std::string& path);

} // namespace host
