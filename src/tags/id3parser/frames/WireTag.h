// SPDX-License-Identifier: MIT

// A tag as it is in its file: where its frames are, and whether reading shows them, passes
// over them or stumbles at them. Bodies stay where they are until somebody wants one.
#pragma once

#include "tags/id3parser/frames/FrameReader.h"
#include "tags/id3parser/frames/Serialize.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace aiff::id3parser
{

// What reading makes of a frame.
enum class FrameReading : uint8_t {
    Shown,
    PassedOver, // encrypted, say: the frames after it are read
    Refused,    // the whole tag counts as damaged
};

// A tag may consist of nothing but frames of a few bytes: every member here counts.
struct WireFrame {
    const uint8_t* bytes = nullptr; // what follows the frame header; not owned
    uint32_t size = 0;
    uint32_t id = 0; // 0: an ID3v2.2 name that nobody translates; the name precedes the body
    uint8_t statusFlags = 0;
    uint8_t formatFlags = 0;
    uint8_t revision = kRevisionNone;
    FrameReading reading = FrameReading::PassedOver;
    bool mayNeedUnsync = false; // nobody has unsynchronised the body or said so
    bool isHidden = false;      // its name is one that only an edit translates
    bool isDamaged = false;     // part of a tag that reading does not get through
    bool showsValue = false;    // of a field, to an edit

    std::span<const uint8_t> Body() const { return {bytes, size}; }
    // The frame's identifier, or its ID3v2.2 name where nobody translates that.
    std::string Name() const;
    OutFrame AsItIs() const { return {id, statusFlags, formatFlags, mayNeedUnsync, {}, Body()}; }
};
static_assert(sizeof(WireFrame) <= 24);

// Points into the bytes that it was read from.
struct WireTag {
    WireTag() = default;
    WireTag(WireTag&&) = default;
    WireTag& operator=(WireTag&&) = default;

    t_tagRevision revision = kRevisionNone;    // none: not a tag
    bool parses = false;                       // t_tag::Parse reads it without an error
    bool isLost = false;                       // it holds something, but no frame is found
    FrameSizes sizes = FrameSizes::OfRevision; // plain: reading takes them for something else
    std::vector<WireFrame> frames;             // in their order, without empty ones
    std::vector<uint8_t> resynchronised;       // the content, of a tag unsynchronised as a whole
};

// Delimits the frames of the tag at the front of `bytes`, which must outlive the result.
// Never throws parseError: in a damaged tag the frames before the damage are found, also
// where an extended header is announced and missing. The sizes of an ID3v2.4 tag are read
// as plain ones when only that leads from frame to frame to the end of the tag.
WireTag ReadWireTag(std::span<const uint8_t> bytes);

// Gives `frame` the identifier and the body that reading shows, in its place where it needs no
// change; false when it shows none.
bool ReadFrame(const WireFrame& wire, t_frame& frame);

// The body of a frame that is shown: in its place, or else in `scratch`.
std::span<const uint8_t> ShownBody(const WireFrame& wire, t_frame& scratch);

} // namespace aiff::id3parser
