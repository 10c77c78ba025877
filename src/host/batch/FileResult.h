#pragma once

#include <cstdint>
#include <string>

namespace host
{

enum class ConvertOutcome {
    Converted,
    Damaged, // the output holds what could be read
    Failed,  // there is no output
    Skipped  // the output was there already, as it may be
};

// How one file of a batch went.
struct FileResult {
    ConvertOutcome outcome = ConvertOutcome::Failed;
    std::string problem; // for people, without the input's name; empty when all is well
    int64_t frames = -1; // sample frames in the output; -1 when there is none
    double seconds = 0;  // what they last
};

} // namespace host
