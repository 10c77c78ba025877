// SPDX-License-Identifier: MIT

// The frames of tags by the fields that represent them. Values stay in their frames and are
// read from there, one by one, when somebody asks: a tag may consist of nothing but fields.
#pragma once

#include "tags/id3parser/fields/MetaMap.h"
#include "tags/id3parser/frames/WireTag.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace aiff::id3parser
{

// A frame of a field. The name belongs to the index, or to the table of frames.
struct FieldEntry {
    const char* name = nullptr;
    uint32_t nameSize = 0;
    uint32_t frame = 0; // its position among the frames

    std::string_view Field() const { return {name, nameSize}; }
};

class FieldIndex
{
public:
    using Group = std::span<const FieldEntry>;

    // Which frames belong to a field.
    enum class Of {
        Reading, // those that reading shows
        Editing  // all of them, also such as no value can be read from
    };

    FieldIndex() = default;
    // The position of a frame in the span is what its entry has.
    FieldIndex(std::span<const WireFrame> frames, Of of);

    // The frames of a field in their order; none when it has none.
    Group Find(std::string_view field) const;

    // Calls visit(group) for each field, in the order of a metaMap.
    template <class Visit>
    void ForEachField(Visit visit) const
    {
        for (auto first = m_entries.begin(); first != m_entries.end();) {
            const auto last = std::find_if(first, m_entries.end(), [&](const FieldEntry& entry) {
                return metaCompare()(first->Field(), entry.Field());
            });
            visit(Group(first, last));
            first = last;
        }
    }

    template <class IsUnwanted>
    void EraseIf(IsUnwanted isUnwanted)
    {
        std::erase_if(m_entries, isUnwanted);
    }

private:
    std::string_view Store(std::string_view name);

    std::vector<FieldEntry> m_entries; // sorted by field and frame
    std::vector<std::unique_ptr<char[]>> m_names;
    std::span<char> m_room; // of the last block of names
};

// Adds the values that frames of one field show, in their order.
void ShowField(std::span<const WireFrame> frames, FieldIndex::Group group, FieldSink& sink);

// The same values at once.
Values ValuesOf(std::span<const WireFrame> frames, FieldIndex::Group group);

// Whether a frame shows any value.
bool ShowsValue(const WireFrame& wire);

} // namespace aiff::id3parser
