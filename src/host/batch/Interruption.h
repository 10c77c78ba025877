// SPDX-License-Identifier: MIT

// Cleaning up when the program is told to stop.
#pragma once

#include <functional>
#include <string>

namespace aiff::host
{

// Keeps unfinished outputs from being left behind. A thread waits for Ctrl-C, Ctrl-\, hang-up
// and termination; then it removes everything that is registered and ends the program with
// kExitInterrupted.
class Interruption
{
public:
    // Call this once, from main(), before there are other threads. A signal that was
    // ignored from the start (nohup) stays ignored.
    static void Watch();

    // Runs `step`, during which the program is not ended, and returns its result. Several
    // threads may do so at a time.
    // Registering something and creating it belong in the same step.
    static bool Undisturbed(const std::function<bool()>& step);

    // Only within Undisturbed(). A folder is removed only if it is empty.
    static void RegisterFile(const std::string& path);
    static void ForgetFile(const std::string& path);
    static void RegisterFolder(const std::string& path);
    // What else is to be done before the program ends, in place of what was set before; null:
    // nothing.
    static void AtEnd(std::function<void()> step);
};

} // namespace aiff::host
