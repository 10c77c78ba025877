// SPDX-License-Identifier: MIT

// What the program returns to the shell.
#pragma once

namespace aiff::host
{

// The manual page explains them.
enum ExitCode : int {
    kExitDone = 0,
    kExitSomeFailed = 1, // at least one input failed
    kExitUsage = 2,      // the command line is invalid
    kExitNoDecoder = 3,  // no usable decoder plug-in was found
    kExitDamaged = 4,    // everything was done, but an input is damaged
    kExitInterrupted = 130
};

// What a command returns whose parts ended with `a` and `b`: a failure counts more than
// damage, and damage more than success.
constexpr ExitCode Worse(ExitCode a, ExitCode b)
{
    const auto either = [a, b](ExitCode code) { return a == code || b == code; };
    if (either(kExitSomeFailed))
        return kExitSomeFailed;
    return either(kExitDamaged) ? kExitDamaged : kExitDone;
}

} // namespace aiff::host
