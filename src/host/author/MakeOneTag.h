// One ID3v2 tag made of several and of a list.
#pragma once

#include "tags/NTag.h"

#include <cstdint>
#include <span>
#include <vector>

namespace aiff::host
{

// Makes a tag of even size. Frames of `tags` stay as they are; of what several tags or the
// list say, the first tag counts. False when this is too large for a tag.
[[nodiscard]] bool MakeOneTag(std::span<const std::span<const uint8_t>> tags, const NTag& list,
                              std::vector<uint8_t>& tag);

} // namespace aiff::host
