#pragma once

#include <functional>
#include <string>

namespace host
{

// What must not be left behind when the program is told to stop (Ctrl-C, hang-up,
// termination): a thread waits for these signals, removes what is registered and
// ends the program with kExitInterrupted.
class Interruption
{
public:
    // To be called once, by main() before there is any other thread. A signal that
    // was ignored from the start (nohup) stays ignored.
    static void Watch();

    // Runs `step` undisturbed: the program does not end within it. Registering
    // and what it stands for belong into one step.
    static bool Undisturbed(const std::function<bool()>& step);

    // Only within Undisturbed(). Folders are removed only when they are empty.
    static void RegisterFile(const std::string& path);
    static void ForgetFile(const std::string& path);
    static void RegisterFolder(const std::string& path);
};

} // namespace host
