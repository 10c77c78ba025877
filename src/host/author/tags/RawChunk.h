// SPDX-License-Identifier: MIT

// A chunk taken out of its file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace aiff::host
{

struct RawChunk {
    std::string code; // four characters, in the case that is usual for it
    std::vector<uint8_t> data;
};

} // namespace aiff::host
