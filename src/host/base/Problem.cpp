#include "host/base/Problem.h"

#include "host/base/Printable.h"

#include <cstdio>

namespace host
{

void SayProblem(std::string_view line)
{
    std::fprintf(stderr, "aiffconv: %s\n", Printable(line).c_str());
}

} // namespace host
