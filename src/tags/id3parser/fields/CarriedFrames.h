// A tag on its way from its old bytes to its new ones. Frames keep the form that they
// had in the old tag for as long as nothing changes them.
#pragma once

#include "tags/id3parser/fields/MetaMap.h"
#include "tags/id3parser/frames/OldTag.h"

#include <cstdint>
#include <deque>
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace aiff::id3parser
{

// The frames of one or several old tags, merged into a tag of one revision.
//
// Frames whose body is of no interest to the field map have their wire form alone. Wire
// forms point into the old tags' bytes.
class CarriedFrames
{
public:
    explicit CarriedFrames(t_tagRevision revision) { m_tag.Reset(revision); }

    // Adds the frames of an old tag after those of earlier ones. Of a field that an
    // earlier tag has, and of a frame that an earlier tag has byte for byte, nothing is
    // added. What the revision cannot express is left out, unless the field map has it.
    void Merge(OldTag old);

    t_tag& Tag() { return m_tag; }
    // What reading the old tags shows.
    const metaMap& Fields() const { return m_fields; }

private:
    using Identity = std::pair<uint32_t, std::string_view>;

    void MergeFrame(t_tag::FrameList one, t_tagRevision from, metaMap& fields);
    bool Port(t_frame& frame, t_tagRevision from);
    bool PortWireForm(t_frame& frame, t_tagRevision from);
    std::span<const uint8_t> Own(std::vector<uint8_t> bytes);

    t_tag m_tag;
    metaMap m_fields;
    std::deque<OldTag> m_old;
    std::set<Identity> m_identities;          // of all tags but the last
    std::vector<Identity> m_added;            // of the last
    std::deque<std::vector<uint8_t>> m_owned; // bodies of frames of another revision
};

} // namespace aiff::id3parser
