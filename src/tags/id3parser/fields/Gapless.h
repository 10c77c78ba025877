// SPDX-License-Identifier: MIT

// The gapless information that iTunes keeps in a comment described "iTunSMPB".
#pragma once

#include "tags/id3parser/frames/Tag.h"

#include <cstdint>
#include <string_view>

namespace aiff::id3parser
{

// The delay and the length in sample frames, from such a comment or from its text. False,
// with both left alone, when it does not tell them.
bool extractAppleGapless(const t_frame& frame, uint64_t& delay, uint64_t& length);
bool parse_apple_gapless(std::string_view text, uint64_t& delay, uint64_t& length);

} // namespace aiff::id3parser
