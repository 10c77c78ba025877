// SPDX-License-Identifier: MIT
#include "host/validate/ProcessState.h"

#include <algorithm>
#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): not every system has it

namespace aiff::host::validate
{
namespace
{

// Higher ones are hardly ever in use.
constexpr int kLastDescriptor = 4096;

std::string Hexadecimal(const void* bytes, size_t size)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        const uint8_t byte = static_cast<const uint8_t*>(bytes)[i];
        text += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return text;
}

std::string HandlerOf(int signal)
{
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) != 0)
        return {};
    if ((action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_DFL)
        return "default";
    if ((action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_IGN)
        return "ignored";
    return "handled by " + Hexadecimal(&action.sa_handler, sizeof action.sa_handler);
}

std::string BlockedSignals()
{
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    std::string numbers;
    for (int signal = 1; signal < NSIG; ++signal) {
        if (sigismember(&blocked, signal) == 1)
            numbers += (numbers.empty() ? "" : ", ") + std::to_string(signal);
    }
    return numbers;
}

std::string Environment()
{
    std::string variables;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry)
        variables += std::string(*entry) + "; ";
    return variables;
}

std::string FileModeMask()
{
    const mode_t mask = umask(0);
    umask(mask);
    return std::to_string(mask);
}

} // namespace

ProcessState CurrentState()
{
    std::error_code error;
    ProcessState state = {
        {"the locale", std::setlocale(LC_ALL, nullptr)},
        {"the working folder", std::filesystem::current_path(error).string()},
        {"the file mode mask", FileModeMask()},
        {"the environment", Environment()},
        {"the blocked signals", BlockedSignals()},
        {"the rounding mode", std::to_string(std::fegetround())},
    };
    for (int signal = 1; signal < NSIG; ++signal)
        state.emplace_back("signal " + std::to_string(signal), HandlerOf(signal));
    return state;
}

int OpenDescriptors()
{
    const auto limit = static_cast<int>(std::min<long>(sysconf(_SC_OPEN_MAX), kLastDescriptor));
    int count = 0;
    for (int descriptor = 0; descriptor < limit; ++descriptor)
        count += fcntl(descriptor, F_GETFD) >= 0;
    return count;
}

} // namespace aiff::host::validate
