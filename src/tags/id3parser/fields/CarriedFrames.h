// A tag on its way from its old bytes to its new ones. Frames keep the form that they
// had in the old tag for as long as nothing changes them.
#pragma once

#include "tags/id3parser/fields/MetaMap.h"
#include "tags/id3parser/frames/RawFrames.h"
#include "tags/id3parser/frames/Tag.h"

#include <cstdint>
#include <deque>
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace id3parser
{

// The form of a frame in a tag.
struct WireFrame {
    uint8_t statusFlags = 0;
    uint8_t formatFlags = 0;
    bool mayNeedUnsync = false;    // nobody has unsynchronised it, nor said so
    std::span<const uint8_t> body; // behind the frame header
};

// The frames of one or several old tags, merged into a tag of one revision.
//
// Frames of the tag whose body is of no interest to the field map are empty: their
// bytes stand in the wire form. The wire forms point into the old tags' bytes.
class CarriedFrames
{
public:
    explicit CarriedFrames(t_tagRevision revision) { m_tag.Reset(revision); }

    // Adds the frames of a walked tag behind those of earlier ones. Of a field that
    // an earlier tag has, and of a frame that an earlier tag has byte for byte,
    // nothing is added. What the revision cannot express is left out, unless the
    // field map has it.
    void Merge(RawTag old);

    t_tag& Tag() { return m_tag; }
    // What reading the old tags shows.
    const metaMap& Fields() const { return m_fields; }

    // Bytes of the frames, before new ones are unsynchronised.
    size_t ContentSize() const;

    // Appends the frames to `out`, old ones in their old form. Throws writeError for
    // what the format cannot express, and for a frame so large that the parser would
    // refuse the whole tag. Frees the bodies that it does not need.
    void WriteContent(streamOutBuffer& out);

private:
    using Identity = std::pair<uint32_t, std::string_view>;

    void MergeFrame(const RawFrame& raw, t_tagRevision from, bool headerUnsync, metaMap& fields);
    bool Port(t_frame& frame, const WireFrame& wire, t_tagRevision from);
    bool PortWire(t_frame& frame, WireFrame wire, t_tagRevision from);
    void Keep(t_frame& frame, const WireFrame& wire);
    void WriteFrame(const t_frame& frame, streamOut& out) const;
    std::span<const uint8_t> Own(std::vector<uint8_t> bytes);

    t_tag m_tag;
    metaMap m_fields;
    std::vector<WireFrame> m_wire;            // by the frames' origin - 1
    std::set<Identity> m_identities;          // of all tags but the last
    std::vector<Identity> m_added;            // of the last
    std::deque<std::vector<uint8_t>> m_owned; // what wire forms and identities point into
};

} // namespace id3parser
