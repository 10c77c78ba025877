// Making ID3v2 tags of content that was read from other formats.
#pragma once

#include "host/base/Problem.h"
#include "host/writers/TagContent.h"

#include <cstdint>
#include <vector>

namespace aiff::host
{

// Makes an ID3v2.4 tag of even size, without padding but for that; empty when there is no
// content. A property that no frame is for becomes a TXXX frame.
Result<std::vector<uint8_t>> MakeId3(TagContent content);

} // namespace aiff::host
