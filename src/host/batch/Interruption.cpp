#include "host/batch/Interruption.h"

#include "host/base/ExitCode.h"

#include <csignal>
#include <mutex>
#include <set>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace aiff::host
{
namespace
{

// Never destroyed: the waiting thread may use it until the process ends.
struct Registry {
    std::mutex access;
    std::set<std::string> files;
    std::set<std::string> folders;
};

Registry& Registered()
{
    static Registry* const registry = new Registry;
    return *registry;
}

// Never releases the lock, so nothing new can appear before the end.
[[noreturn]] void CleanUpAndEnd()
{
    Registry& registry = Registered();
    registry.access.lock();
    for (const std::string& path : registry.files)
        unlink(path.c_str());
    for (const std::string& path : registry.folders)
        rmdir(path.c_str());
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
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
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
    const std::lock_guard lock(Registered().access);
    return step();
}

void Interruption::RegisterFile(const std::string& path)
{
    Registered().files.insert(path);
}

void Interruption::ForgetFile(const std::string& path)
{
    Registered().files.erase(path);
}

void Interruption::RegisterFolder(const std::string& path)
{
    Registered().folders.insert(path);
}

} // namespace aiff::host
