// SPDX-License-Identifier: MIT

// Tags that are in a file and cannot be read, or are not where readers look for them.
#pragma once

#include "host/base/Problem.h"
#include "support/file/XFile.h"

#include <cstdint>
#include <string>
#include <vector>

namespace aiff
{
class NTag;
}

namespace aiff::host
{

// Reads the tag in the data of a tag chunk: `size` bytes, 1 or more, from `position` on.
//
// chunk  what the chunk is called in the problem
// tag    becomes the bytes of the tag, from its header on
// list   becomes what it says
Problem ReadChunkTag(const XFile& file, int64_t position, int64_t size, const std::string& chunk,
                     std::vector<uint8_t>& tag, NTag& list);

// The bytes after a position, to the end of the file.
struct TrailingBytes {
    int64_t count = 0;
    bool areZero = true;
    std::vector<std::string> tags; // the kinds of tags that they hold, such as "an ID3v1 tag"

    // What they look like, for people: "an ID3v1 tag".
    std::string Looks() const;
};

TrailingBytes ReadTrailingBytes(const XFile& file, int64_t position);

} // namespace aiff::host
