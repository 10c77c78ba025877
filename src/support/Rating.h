// SPDX-License-Identifier: MIT

// Ratings from 0 to 10, as the POPM frames of ID3v2 hold them.
#pragma once

#include <cstdint>
#include <string_view>

namespace aiff
{

// The byte for each rating, rising.
inline constexpr uint8_t POPM10_Table[] = {0, 0, 1, 32, 64, 96, 128, 160, 196, 228, 255};

// The e-mail address in the frame: whose rating it is.
inline constexpr std::string_view POPM_User = "Windows Media Player 9 Series";

} // namespace aiff
