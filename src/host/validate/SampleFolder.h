// SPDX-License-Identifier: MIT

// The files that decoders are tried on, in a folder of their own.
#pragma once

#include "host/base/Problem.h"
#include "host/validate/GeneratedFiles.h"

#include <string>
#include <vector>

namespace aiff::host::validate
{

// Fills the folder, which must exist, with the generated files and copies of the files in
// `ownFolder` (empty: none), whose names are kept. What is too large for the purpose is left
// out and named in `leftOut`.
Problem FillSampleFolder(const std::string& folder, const std::string& ownFolder,
                         std::vector<std::string>& leftOut);

struct Sample {
    std::string name;
    std::string path;
    const GeneratedFile* generated = nullptr; // null for the user's own
};

// The files in such a folder: the generated ones as listed, then the user's own by name.
std::vector<Sample> SamplesIn(const std::string& folder);

} // namespace aiff::host::validate
