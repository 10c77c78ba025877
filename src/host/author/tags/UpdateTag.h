// SPDX-License-Identifier: MIT

// ID3v2 tags made by way of a tag list.
#pragma once

#include "tags/NTag.h"

#include <cstdint>
#include <span>
#include <vector>

namespace aiff::host
{

// Makes a tag of even size from an old one, whose version and other frames it keeps, and a list.
// An empty old tag makes one of ID3v2.4. False when this is too large for a tag.
[[nodiscard]] bool UpdateTag(std::span<const uint8_t> old, const NTag& list,
                             std::vector<uint8_t>& tag);

} // namespace aiff::host
