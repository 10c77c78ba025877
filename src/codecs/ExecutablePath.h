#pragma once

#include <string>

namespace codecs
{

// The real path of the running program, links resolved; empty when the system
// does not tell.
std::string ExecutablePath();

} // namespace codecs
