// SPDX-License-Identifier: MIT

// The frames of old tags on their way into a new one, which carries them over in the form
// that they have for as long as nothing changes them.
#pragma once

#include "tags/id3parser/fields/FieldIndex.h"
#include "tags/id3parser/frames/WireTag.h"

#include <cstdint>
#include <span>
#include <vector>

namespace aiff::id3parser
{

// The frames of one or several old tags, merged for a tag of one revision: of a field that an
// earlier tag shows, and of a frame that an earlier tag has byte for byte, nothing of a later
// tag is here.
class CarriedFrames
{
public:
    CarriedFrames(t_tagRevision revision, std::vector<WireTag>&& tags);

    t_tagRevision Revision() const { return m_revision; }
    std::span<const WireFrame> Frames() const { return m_frames; }
    const FieldIndex& Fields() const { return m_fields; }

    // Whether a frame that no change concerns is lost: an earlier tag has no other in its place.
    bool IsLost(const WireFrame& wire) const;

    // Gives a frame to the sink in the form that the new tag takes. False, with nothing
    // given, when the new revision cannot express it.
    bool Emit(const WireFrame& wire, const FrameSink& sink) const;

private:
    std::vector<size_t> MergeFrames();
    void DropRepeatedFrames(std::vector<size_t>& ends);
    void DropFieldsOfLaterTags(const std::vector<size_t>& ends);
    bool EmitWireForm(const WireFrame& wire, const FrameSink& sink) const;

    t_tagRevision m_revision;
    std::vector<WireTag> m_tags;
    std::vector<WireFrame> m_frames;
    FieldIndex m_fields;
};

} // namespace aiff::id3parser
