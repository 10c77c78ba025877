// SPDX-License-Identifier: MIT

// The filler chunks that hide what an edit in place prepares, see InPlacePlan.h.
#pragma once

#include "aiff/FourCC.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace aiff
{

// The first or the last bytes of the data of such a chunk, so that an edit that was cut short
// is told from the filler of another program, which may hold anything.
inline constexpr std::string_view kFillerMark = "aiff edit filler";

// In the place of a chunk header past the form's end while an edit writes the chunk's data.
inline constexpr std::string_view kAppendMark = "aiffedit";
static_assert(std::ssize(kAppendMark) == kChunkHeaderSize);

// Bytes of a filler's header and the mark.
inline constexpr int64_t kFillerHeadSize = kChunkHeaderSize + std::ssize(kFillerMark);

constexpr bool IsFillerMark(std::span<const uint8_t> bytes)
{
    return std::ranges::equal(bytes, kFillerMark);
}

} // namespace aiff
