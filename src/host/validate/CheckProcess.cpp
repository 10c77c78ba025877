// SPDX-License-Identifier: MIT
#include "host/validate/CheckProcess.h"

#include "codecs/ExecutablePath.h"
#include "host/base/Printable.h"
#include "host/base/Problem.h"
#include "host/batch/Interruption.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace aiff::host::validate
{
namespace
{

using Clock = std::chrono::steady_clock;

// More than any check writes.
constexpr size_t kMaxOutput = size_t{64} << 20; // bytes

std::atomic<pid_t> g_running = 0;

// How the process has ended, and what it has written.
struct Ending {
    bool isTooLate = false;
    int status = 0; // of waitpid
    std::string output;
};

// In the new process, where only calls that are safe after fork may be made. Should this
// program be killed, the alarm ends the new one.
[[noreturn]] void Become(char* const* arguments, int output, unsigned limit)
{
    setpgid(0, 0);
    alarm(limit);
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    const int nothing = open("/dev/null", O_RDONLY);
    if (nothing >= 0 && dup2(nothing, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0)
        execv(arguments[0], arguments);
    _exit(127);
}

// returns the process, whose output `reading` gives, or -1 with errno set
pid_t Start(std::vector<std::string> arguments, std::chrono::seconds limit, int& reading)
{
    constexpr std::chrono::seconds kGrace{10};
    arguments.insert(arguments.begin(), codecs::ExecutablePath());
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    int ends[2];
    if (pipe(ends) != 0)
        return -1;
    for (const int end : ends)
        fcntl(end, F_SETFD, FD_CLOEXEC);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    const pid_t process = fork();
    if (process == 0)
        Become(pointers.data(), ends[1], static_cast<unsigned>((limit + kGrace).count()));
    close(ends[1]);
    if (process < 0)
        close(ends[0]);
    reading = ends[0];
    return process;
}

// Reads what is there.
void Drain(int reading, std::string& output)
{
    char buffer[65536];
    for (ssize_t got = 1; got > 0 && output.size() < kMaxOutput;) {
        got = read(reading, buffer, sizeof buffer);
        output.append(buffer, got > 0 ? static_cast<size_t>(got) : 0);
    }
}

bool HasEnded(pid_t process)
{
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == process;
}

Ending WaitFor(pid_t process, int reading, Clock::time_point end)
{
    constexpr int kPause = 20; // milliseconds
    Ending ending;
    while (!HasEnded(process) && !ending.isTooLate) {
        pollfd waiting = {reading, POLLIN, 0};
        if (poll(&waiting, 1, kPause) > 0 && (waiting.revents & POLLIN) == 0)
            poll(nullptr, 0, 1); // the pipe is closed, and the process about to end
        Drain(reading, ending.output);
        ending.isTooLate = Clock::now() > end;
    }
    kill(-process, SIGKILL); // and all that it has started
    // Goes no further while the program is being ended, which takes the process for running.
    Interruption::Undisturbed([] { return (g_running = 0) == 0; });
    waitpid(process, &ending.status, 0);
    Drain(reading, ending.output);
    close(reading);
    return ending;
}

// The findings among the lines written, and the last call announced.
struct Output {
    bool hasFindings = false;
    Findings findings;
    std::string call;
};

Output ReadOutput(const std::string& text)
{
    Output output;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = text.substr(start, end - start);
        start = end + 1;
        if (line.starts_with('{') &&
            Findings::FromJson(Json::parse(line, nullptr, false), output.findings))
            output.hasFindings = true;
        else
            output.call = line;
    }
    return output;
}

std::string EndingText(const Ending& ending, std::chrono::seconds limit)
{
    if (ending.isTooLate)
        return "the process does not end within " + Counted(limit.count(), "second");
    if (WIFSIGNALED(ending.status))
        return "the process is ended by signal " + std::to_string(WTERMSIG(ending.status)) + " (" +
               strsignal(WTERMSIG(ending.status)) + ")";
    return "the process ends with exit code " + std::to_string(WEXITSTATUS(ending.status));
}

} // namespace

Findings RunCheckProcess(const std::vector<std::string>& arguments, std::chrono::seconds limit)
{
    int reading = -1;
    const bool isStarted = Interruption::Undisturbed([&] {
        const pid_t process = Start(arguments, limit, reading);
        if (process > 0)
            setpgid(process, process); // whichever of the two comes first
        g_running = process;
        return process > 0;
    });
    Findings findings;
    if (!isStarted) {
        findings.Require(false, "no process: " + Problem::FromErrno().Text(), "one for the check");
        return findings;
    }
    const Ending ending = WaitFor(g_running, reading, Clock::now() + limit);
    Output output = ReadOutput(ending.output);
    const bool isNormal = !ending.isTooLate && ending.status == 0;
    if (output.hasFindings && isNormal)
        return output.findings;
    const std::string when = output.hasFindings ? "after the check" : "in: " + output.call;
    output.findings.Require(false, EndingText(ending, limit) + ", " + when,
                            "every call returns, and the host decides when it ends");
    return output.findings;
}

void EndCheckProcess()
{
    const pid_t process = g_running;
    if (process > 0)
        kill(-process, SIGKILL);
}

} // namespace aiff::host::validate
