// SPDX-License-Identifier: MIT

// How one file of a batch went.
#pragma once

#include "host/base/Problem.h"

#include <cstdint>
#include <string>
#include <vector>

namespace aiff::host
{

enum class ConvertOutcome {
    Converted,
    Damaged, // the output holds what could be read
    Failed,  // there is no output
    Skipped  // the output already existed, as --skip-existing allows
};

struct FileResult {
    ConvertOutcome outcome = ConvertOutcome::Failed;
    Problem problem;     // what failed or is damaged, without the input's name
    int64_t frames = -1; // sample frames in the output; -1 when there is none
    double seconds = 0;  // their duration
    // What else there is to say, such as what was left out.
    std::vector<std::string> notes = {};
    std::string fetched = {}; // that the input was fetched, and why; mostly empty
};

} // namespace aiff::host
