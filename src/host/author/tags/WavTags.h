// SPDX-License-Identifier: MIT

// What a WAV or Wave64 file holds besides its sound.
#pragma once

#include "host/author/tags/RawChunk.h"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <tpropertymap.h>
#include <vector>

namespace aiff::host
{

struct WavTags {
    std::string_view format;      // "WAV" or "Wave64"; empty for another one
    std::vector<uint8_t> id3v2;   // the first such chunk, byte for byte
    TagLib::PropertyMap info;     // the INFO list; identifiers without a property are their own
    std::vector<RawChunk> marks;  // with markers, loops and broadcast data
    std::set<std::string> others; // identifiers of chunks of other kinds, and of further tags
};

WavTags ReadWavTags(const std::string& path);

} // namespace aiff::host
