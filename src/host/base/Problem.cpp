// SPDX-License-Identifier: MIT
#include "host/base/Problem.h"

#include "host/base/Printable.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace aiff::host
{

Problem Problem::FromErrno()
{
    return std::strerror(errno);
}

Problem Problem::About(std::string_view subject) const
{
    return m_text.empty() ? Problem() : std::string(subject) + ": " + m_text;
}

void SayProblem(const Problem& problem)
{
    const std::string line = "aiffconv: " + Printable(problem.Text()) + "\n";
    std::fputs(line.c_str(), stderr); // in one piece: other programs write there too
}

} // namespace aiff::host
