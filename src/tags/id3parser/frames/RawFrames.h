// The frames of a tag as they stand in it, whether the parser reads, passes over or
// stumbles at them: what an edit carries over.
#pragma once

#include "tags/id3parser/frames/FrameReader.h"
#include "tags/id3parser/frames/Tag.h"

#include <cstdint>
#include <span>
#include <vector>

namespace id3parser
{

struct RawFrame {
    FrameHeader header;
    uint32_t carriedId = 0;        // in a later revision, of a frame that has no identifier
    std::span<const uint8_t> body; // of what the format flags say nothing is undone
};

struct RawTag {
    t_tagRevision revision = kRevisionNone; // none: not a tag
    uint8_t flags = 0;
    bool parses = false;     // the parser reads it without an error
    bool plainSizes = false; // the parser takes the frames' sizes for something else
    std::vector<RawFrame> frames;
    std::vector<uint8_t> resynchronised; // the content, of a tag unsynchronised as a whole
};

// Delimits the frames of the tag at the front of `bytes`, which must outlive the
// result. Never throws parseError: in a damaged tag the frames before the damage
// are found. The sizes of an ID3v2.4 tag are read as plain integers when only that
// leads from frame to frame to the end of the tag, as in tags of a program that
// wrote so. Empty frames are left out.
RawTag WalkRawFrames(std::span<const uint8_t> bytes);

// Makes the parser pass over a frame that it would stumble at, by the flag for frames
// that must not be changed. False when the revision has no such flag that it minds.
bool MakePassable(RawFrame& raw, t_tagRevision revision);

// Whether the parser shows the frame, and its body then. False for one that it
// passes over or cannot read.
bool DecodeRawFrame(const RawFrame& raw, t_tagRevision revision, t_frame& frame);

} // namespace id3parser
