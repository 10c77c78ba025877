// SPDX-License-Identifier: MIT
#include "host/batch/Interruption.h"

#include "host/base/ExitCode.h"

#include <csignal>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <utility>

namespace aiff::host
{
namespace
{

// Never destroyed: the waiting thread may use it until the process ends.
struct Registry {
    std::mutex entry; // those who wait for `steps` wait in line here
    std::shared_mutex steps;
    std::mutex access; // to the names
    std::set<std::string> files;
    std::set<std::string> folders;
    std::function<void()> atEnd;
};

Registry& Registered()
{
    static Registry* const registry = new Registry;
    return *registry;
}

// Never releases the locks, so nothing new can appear before the end.
[[noreturn]] void CleanUpAndEnd()
{
    Registry& registry = Registered();
    registry.entry.lock();
    registry.steps.lock();
    for (const std::string& path : registry.files)
        unlink(path.c_str());
    for (auto path = registry.folders.rbegin(); path != registry.folders.rend(); ++path)
        rmdir(path->c_str()); // inner ones first
    if (registry.atEnd)
        registry.atEnd();
    constexpr std::string_view kMessage = "\naiffconv: interrupted\n";
    (void)!write(STDERR_FILENO, kMessage.data(), kMessage.size());
    _exit(kExitInterrupted);
}

bool IsIgnored(int signal)
{
    struct sigaction action;
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

void Interruption::Watch()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        if (!IsIgnored(signal))
            sigaddset(&signals, signal);
    }
    Registered();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] {
        int signal = 0;
        if (sigwait(&signals, &signal) == 0)
            CleanUpAndEnd();
    }).detach();
}

bool Interruption::Undisturbed(const std::function<bool()>& step)
{
    std::unique_lock entry(Registered().entry);
    const std::shared_lock lock(Registered().steps);
    entry.unlock();
    return step();
}

void Interruption::RegisterFile(const std::string& path)
{
    const std::lock_guard lock(Registered().access);
    Registered().files.insert(path);
}

void Interruption::ForgetFile(const std::string& path)
{
    const std::lock_guard lock(Registered().access);
    Registered().files.erase(path);
}

void Interruption::RegisterFolder(const std::string& path)
{
    const std::lock_guard lock(Registered().access);
    Registered().folders.insert(path);
}

void Interruption::AtEnd(std::function<void()> step)
{
    const std::lock_guard lock(Registered().access);
    Registered().atEnd = std::move(step);
}

} // namespace aiff::host
