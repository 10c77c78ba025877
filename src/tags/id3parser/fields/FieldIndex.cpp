// SPDX-License-Identifier: MIT
#include "tags/id3parser/fields/FieldIndex.h"

#include "tags/id3parser/fields/FrameToMeta.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <tuple>

namespace aiff::id3parser
{

namespace
{

constexpr size_t kBlockOfNames = 4096;

// Notes whether anything was added.
struct AnyValue : FieldSink {
    void add(std::string_view, std::string_view) override { found = true; }
    bool found = false;
};

// Whether the frame's identifier alone does not tell its field.
bool NeedsBody(const WireFrame& wire, const FrameRule& rule)
{
    return rule.field.empty() || rule.read == ReadRule::Rating ||
           wire.reading != FrameReading::Shown || wire.formatFlags != 0;
}

bool ComesBefore(const FieldEntry& a, const FieldEntry& b)
{
    const metaCompare less;
    if (less(a.Field(), b.Field()))
        return true;
    return a.frame < b.frame && !less(b.Field(), a.Field());
}

} // namespace

FieldIndex::FieldIndex(std::span<const WireFrame> frames, Of of)
{
    const auto rule = [of](const WireFrame& wire) {
        const bool counts =
            of == Of::Editing || (wire.reading == FrameReading::Shown && !wire.isHidden);
        return counts ? RuleForFrame(wire.id) : nullptr;
    };
    m_entries.reserve(static_cast<size_t>(std::ranges::count_if(frames, rule)));
    t_frame frame;
    for (size_t i = 0; i < frames.size(); ++i) {
        const FrameRule* own = rule(frames[i]);
        if (own == nullptr)
            continue;
        std::string_view field = own->field;
        if (NeedsBody(frames[i], *own)) {
            if (!ReadFrame(frames[i], frame)) {
                frame.id = frames[i].id;
                frame.data.set_size(0);
            }
            const std::string name = FieldOfFrame(frame);
            field = own->field.empty() ? Store(name) : name.empty() ? std::string_view() : field;
        }
        if (!field.empty())
            m_entries.push_back(
                {field.data(), static_cast<uint32_t>(field.size()), static_cast<uint32_t>(i)});
    }
    std::ranges::sort(m_entries, ComesBefore);
}

std::string_view FieldIndex::Store(std::string_view name)
{
    if (name.size() > m_room.size()) {
        const size_t size = std::max(name.size(), kBlockOfNames);
        m_room = {m_names.emplace_back(std::make_unique<char[]>(size)).get(), size};
    }
    std::ranges::copy(name, m_room.begin());
    const std::string_view stored(m_room.data(), name.size());
    m_room = m_room.subspan(name.size());
    return stored;
}

FieldIndex::Group FieldIndex::Find(std::string_view field) const
{
    const auto first =
        std::ranges::lower_bound(m_entries, field, metaCompare(), &FieldEntry::Field);
    const auto last = std::ranges::upper_bound(m_entries, field, metaCompare(), &FieldEntry::Field);
    return {first, last};
}

void ShowField(std::span<const WireFrame> frames, FieldIndex::Group group, FieldSink& sink)
{
    t_frame frame;
    metaMap map; // of a field whose frames change what others said
    const bool isJoint = std::ranges::any_of(
        group, [&](const FieldEntry& entry) { return ChangesOthers(frames[entry.frame].id); });
    for (const FieldEntry& entry : group) {
        const WireFrame& wire = frames[entry.frame];
        if (!ReadFrame(wire, frame))
            continue;
        if (isJoint)
            frame_to_infos(frame, t_tagRevision{wire.revision}, map);
        else
            frame_to_infos(frame, t_tagRevision{wire.revision}, sink);
    }
    for (const auto& [field, values] : map)
        for (const std::string_view value : values)
            sink.add(field, value);
}

Values ValuesOf(std::span<const WireFrame> frames, FieldIndex::Group group)
{
    struct Collector : FieldSink {
        void add(std::string_view, std::string_view value) override { values.push_back(value); }
        Values values;
    } collector;
    ShowField(frames, group, collector);
    return std::move(collector.values);
}

bool ShowsValue(const WireFrame& wire)
{
    AnyValue any;
    const FieldEntry alone;
    ShowField({&wire, 1}, {&alone, 1}, any);
    return any.found;
}

} // namespace aiff::id3parser
