// SPDX-License-Identifier: MIT

// What the user sees of the decoders' report.
#pragma once

#include "host/base/Problem.h"

#include <string>
#include <vector>

namespace aiff::host
{

// How much of the report is shown, and where.
struct Trace {
    enum class Level { Off, Error, Information, Debug };

    Level level = Level::Off;
    int descriptor = -1; // stays open as long as the program runs
    std::string file;    // its name; empty for standard error
    bool onTerminal = false;

    bool IsOn() const { return level != Level::Off; }
};

// Reads "error", "info" or "debug", optionally followed by "=FILE" to write there instead
// of to standard error. FILE is created, or emptied unless it is one of the files that the
// command line names, which is a problem.
//
// arguments  all of the command line
Result<Trace> ParseTrace(const std::string& text, const std::vector<std::string>& arguments);

// Writes a last line to the trace if it is in a file. A problem when that is full: then lines of
// decoders may be missing before it, which the decoders do not tell.
Problem EndTrace(const Trace& trace);

} // namespace aiff::host
