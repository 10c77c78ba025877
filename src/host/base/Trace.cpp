// SPDX-License-Identifier: MIT
#include "host/base/Trace.h"

#include <algorithm>
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

// Whether one of the arguments is a name of the file.
bool IsNamed(const std::string& file, const std::vector<std::string>& arguments)
{
    struct stat traced;
    const bool exists = stat(file.c_str(), &traced) == 0;
    if (exists && !S_ISREG(traced.st_mode))
        return false; // it cannot be emptied
    return std::ranges::any_of(arguments, [&](const std::string& argument) {
        struct stat named;
        return argument == file || (exists && stat(argument.c_str(), &named) == 0 &&
                                    named.st_dev == traced.st_dev && named.st_ino == traced.st_ino);
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
    const std::string file = text.substr(equals + 1);
    if (IsNamed(file, arguments))
        return Problem("the trace would replace '" + file + "', which the command works on");
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC;
    trace.descriptor = open(file.c_str(), kFlags, 0666);
    if (trace.descriptor < 0)
        return Problem::FromErrno().About("cannot write the trace to '" + file + "'");
    return trace;
}

} // namespace aiff::host
