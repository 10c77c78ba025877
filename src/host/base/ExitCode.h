#pragma once

namespace host
{

// What the program returns to the shell; the manual page explains them.
enum ExitCode : int {
    kExitDone = 0,
    kExitSomeFailed = 1, // at least one input gave no output
    kExitUsage = 2,      // the command line makes no sense
    kExitNoDecoder = 3,  // no usable decoder plug-in was found
    kExitDamaged = 4,    // all done, but some input was cut short
    kExitInterrupted = 130
};

} // namespace host
