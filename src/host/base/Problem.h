// What goes wrong, told to the user.
#pragma once

#include <string_view>

namespace host
{

// One line on standard error, with the program's name in front.
void SayProblem(std::string_view line);

} // namespace host
