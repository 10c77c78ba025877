#include "host/base/Trace.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace host
{

bool ParseTrace(const std::string& text, Trace& trace, std::string& problem)
{
    const size_t equals = text.find('=');
    const std::string level = text.substr(0, equals);
    if (level == "error")
        trace.level = Trace::Level::Error;
    else if (level == "info")
        trace.level = Trace::Level::Information;
    else if (level == "debug")
        trace.level = Trace::Level::Debug;
    else {
        problem = "--trace takes error, info or debug, not '" + level + "'";
        return false;
    }
    trace.descriptor = STDERR_FILENO;
    if (equals == std::string::npos)
        return true;
    const std::string file = text.substr(equals + 1);
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC;
    trace.descriptor = open(file.c_str(), flags, 0666);
    if (trace.descriptor >= 0)
        return true;
    problem = "cannot write the trace to '" + file + "': " + std::strerror(errno);
    return false;
}

} // namespace host
