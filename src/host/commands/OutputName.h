// SPDX-License-Identifier: MIT

// Whether the name of an output says what is in it.
#pragma once

#include "host/base/Problem.h"

#include <string>
#include <string_view>

namespace aiff::host
{

// How the format of an output was chosen.
enum class FormatChoice { ByName, ByOption };

// Why a file of this name must not be written: its ending stands for another format, or, unless
// the user has chosen the format apart from the name, for none that is written. A name without
// an ending is never wrong.
//
// format  what would be in it: "WAV", "FLAC" or "AIFF"
Problem OutputNameProblem(const std::string& output, std::string_view format, FormatChoice choice);

} // namespace aiff::host
