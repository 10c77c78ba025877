#include "host/base/Trace.h"

#include <fcntl.h>
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

} // namespace

Result<Trace> ParseTrace(const std::string& text)
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
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC;
    trace.descriptor = open(file.c_str(), kFlags, 0666);
    if (trace.descriptor < 0)
        return Problem::FromErrno().About("cannot write the trace to '" + file + "'");
    return trace;
}

} // namespace aiff::host
