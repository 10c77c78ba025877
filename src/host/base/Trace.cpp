// SPDX-License-Identifier: MIT
#include "host/base/Trace.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace aiff::host
{
namespace
{

constexpr struct {
    std::string_view name;
    Trace::Level level;
} kLevels[] = {
    {"error", Trace::Level::Error},
    {"info", Trace::Level::Information},
    {"debug", Trace::Level::Debug},
};

// Whether the command works on the file: it is standard input or output, or one of the arguments
// is a name of it.
bool IsInUse(const std::string& file, const std::vector<std::string>& arguments)
{
    struct stat traced;
    const bool exists = stat(file.c_str(), &traced) == 0;
    if (exists && !S_ISREG(traced.st_mode))
        return false; // it cannot be emptied
    const auto isIt = [&](int found, const struct stat& other) {
        return exists && found == 0 && other.st_dev == traced.st_dev &&
               other.st_ino == traced.st_ino;
    };
    struct stat other;
    return isIt(fstat(STDIN_FILENO, &other), other) || isIt(fstat(STDOUT_FILENO, &other), other) ||
           std::ranges::any_of(arguments, [&](const std::string& argument) {
               return argument == file || isIt(stat(argument.c_str(), &other), other);
           });
}

} // namespace

Result<Trace> ParseTrace(const std::string& text, const std::vector<std::string>& arguments)
{
    const size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    Trace trace;
    for (const auto& known : kLevels) {
        if (known.name == name)
            trace.level = known.level;
    }
    if (!trace.IsOn())
        return Problem("--trace takes error, info or debug, not '" + name + "'");
    trace.descriptor = STDERR_FILENO;
    if (equals == std::string::npos)
        return trace;
    const std::string& file = trace.file = text.substr(equals + 1);
    if (IsInUse(file, arguments))
        return Problem("the trace would replace '" + file + "', which the command works on");
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC;
    trace.descriptor = open(file.c_str(), kFlags, 0666);
    if (trace.descriptor < 0)
        return Problem::FromErrno().About("cannot write the trace to '" + file + "'");
    return trace;
}

Problem EndTrace(const Trace& trace)
{
    std::string_view rest = "End of the trace.\n";
    while (!trace.file.empty() && !rest.empty()) {
        const ssize_t count = write(trace.descriptor, rest.data(), rest.size());
        if (count < 0 && errno != EINTR)
            return Problem::FromErrno().About("cannot write all of the trace to '" + trace.file +
                                              "'");
        rest.remove_prefix(static_cast<size_t>(std::max<ssize_t>(count, 0)));
    }
    return {};
}

} // namespace aiff::host
