// SPDX-License-Identifier: MIT

// Where the running program is, which systems tell differently: a source per platform.
#pragma once

#include <string>

namespace aiff::codecs
{

// The path of the running program with links resolved; empty when the system does not
// say.
std::string ExecutablePath();

} // namespace aiff::codecs
