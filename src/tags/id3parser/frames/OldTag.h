// A tag that an edit replaces: its frames as they are in it, whether reading shows them,
// passes over them or stumbles at them.
#pragma once

#include "tags/id3parser/frames/FrameReader.h"
#include "tags/id3parser/frames/Tag.h"

#include <cstdint>
#include <deque>
#include <span>
#include <vector>

namespace aiff::id3parser
{

// Frames point into it: it moves, but cannot be copied.
struct OldTag {
    OldTag() = default;
    OldTag(OldTag&&) = default;

    t_tagRevision revision = kRevisionNone;    // none: not a tag
    bool parses = false;                       // t_tag::Parse reads it without an error
    FrameSizes sizes = FrameSizes::OfRevision; // plain: reading takes them for something else

    // Each has its wire form, and a body when reading shows one to a field or a picture.
    // Includes ID3v2.2 frames whose names only an edit translates.
    t_tag::FrameList frames;

    std::deque<WireForm> forms;          // what the frames' `wire` points to
    std::vector<uint8_t> resynchronised; // the content, of a tag unsynchronised as a whole
};

// Delimits and reads the frames of the tag at the front of `bytes`, which must outlive
// the result. Never throws parseError: in a damaged tag the frames before the damage are
// found. The sizes of an ID3v2.4 tag are read as plain ones when only that leads from
// frame to frame to the end of the tag. Empty frames are left out.
OldTag ReadOldTag(std::span<const uint8_t> bytes);

// What reading makes of a frame in this form. Fills the body of a frame that is shown,
// by its identifier.
FrameReading ReadWireForm(const WireForm& form, t_tagRevision revision, t_frame& frame);

} // namespace aiff::id3parser
