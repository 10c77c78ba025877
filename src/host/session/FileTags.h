// SPDX-License-Identifier: MIT

// The tags of a file as they are in it.
#pragma once

#include "host/session/TagBlob.h"

#include <cstdint>
#include <string>
#include <vector>

namespace aiff::host
{

// What a tag blob cannot hold is here, too: characters beyond U+FFFF, and frames that no field
// represents.
struct FileTags {
    FileTags() = default;
    FileTags(FileTags&&) = default;
    FileTags& operator=(FileTags&&) = default;

    // The items that a decoder shows. The data of pictures is in `pictures`.
    std::vector<TagItem> items;
    std::vector<std::vector<uint8_t>> pictures;
    // The ID3v2 tags that they come from, in the order of the file, byte for byte and without
    // what follows them in their chunks.
    std::vector<std::vector<uint8_t>> id3v2;
    // Sentences for people about tags that are in the file and are not shown.
    std::vector<std::string> hidden;
    // The tag chunks that are not empty, those with hidden tags included.
    size_t chunks = 0;
    // What an edit would cut off the end of the file, for people, such as "128 bytes (an ID3v1
    // tag)". Empty when that is nothing, or only zeros.
    std::string cutOff;
};

} // namespace aiff::host
