// SPDX-License-Identifier: MIT

// What reading shows of tags, as items: the tag's version, its fields and its pictures. They
// go from the tags' bytes to the blob one by one, so that a hostile tag cannot make more of
// itself than the blob.
#pragma once

#include "support/XMem.h"
#include "tags/NTag.h"
#include "tags/id3parser/fields/FieldIndex.h"
#include "tags/id3parser/frames/WireTag.h"

#include <cstdint>
#include <span>
#include <vector>

namespace aiff
{

class TagItems
{
public:
    // Takes a tag, from its header on. False when there is none or it is damaged: it shows
    // nothing then.
    bool Add(std::vector<uint8_t> bytes);

    // The items of all tags; of those with one name only the first, without regard to case.
    NTag List() const;
    // Their blob. `count` becomes their number. False when memory is short or a blob cannot
    // hold them.
    [[nodiscard]] bool ToRawMemory(XMem& blob, int64_t& count) const;

private:
    struct Tag {
        std::vector<uint8_t> bytes;
        size_t size = 0;         // in the file, in bytes
        id3parser::WireTag wire; // points into them, or into its own copy
        id3parser::FieldIndex fields;
    };

    template <class Sink>
    void Give(Sink& sink) const;
    size_t ExpectedSize() const;

    std::vector<Tag> m_tags;
};

// Replaces the list with what the tag at the front of the bytes says: its version, fields and
// pictures. What follows the tag does not matter. False, with an empty list, when there is no
// tag or it is damaged.
[[nodiscard]] bool ReadTagList(std::span<const uint8_t> bytes, NTag& list);

} // namespace aiff
