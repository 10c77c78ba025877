// SPDX-License-Identifier: MIT

// Checking AIFF files.
#pragma once

#include "host/author/check/FileMap.h"
#include "host/author/check/Irregularities.h"
#include "host/base/Problem.h"

#include <string>
#include <vector>

namespace aiff::host
{

// What a check of an AIFF or AIFF-C file has found.
struct FileFindings {
    Problem problem;                     // why it cannot be read as such a file
    std::vector<Irregularity> irregular; // in the order of the file

    bool IsReadable() const { return !problem; }
    bool IsClean() const { return !problem && irregular.empty(); }
};

// Checks sizes, pad bytes, the tag, and the audio format against the sound. Reads headers
// and tags, but not the sound.
FileFindings CheckFile(const std::string& path);

// The parts of the file as that check finds them; none of a file that is no AIFF file.
FileMap MapFile(const std::string& path);

} // namespace aiff::host
