// SPDX-License-Identifier: MIT

// Writing tags: the pieces of t_tag::Write. They throw writeError for what the format
// cannot express.
#pragma once

#include "tags/id3parser/bytes/Streams.h"
#include "tags/id3parser/frames/Frame.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace aiff::id3parser
{

// A frame as it is to be written. Points into bytes that it does not own.
struct OutFrame {
    uint32_t id = 0;
    uint8_t statusFlags = 0;
    uint8_t formatFlags = 0;
    bool mayNeedUnsync = true;     // nobody has unsynchronised the body or said so
    std::span<const uint8_t> head; // the front of the body; does not end with 0xFF
    std::span<const uint8_t> body;
};

OutFrame AsNew(const t_frame& frame);

using FrameSink = std::function<void(const OutFrame&)>;

// Both take 28 bits, so that a size reads the same in every revision.
void write_big_endian(streamOut& out, uint32_t value);
void write_sync_safe_integer(streamOut& out, uint32_t value);

// Throws std::overflow_error("overflow") for what 32 bits do not hold.
uint32_t safeDowncast(uint64_t value);

// Applies unsynchronisation: a 0 goes after every 0xFF that is followed by a 0, by a
// byte of 0xE0 or above, or by nothing.
void unsync(streamIn& in, streamOut& out);

// Write a frame; in ID3v2.4 a body that nobody has unsynchronised is unsynchronised where
// readers need it.
void WriteFrame_v3(const OutFrame& frame, streamOut& out);
void WriteFrame_v4(const OutFrame& frame, streamOut& out);

// Bytes that the frame takes when it is written, header included. Throws what writing
// it would.
size_t FrameSize(const OutFrame& frame, t_tagRevision revision);

// The header of a tag of revision 3 or 4; `size` counts what follows it. Writes all of
// it or nothing.
void WriteTagHeader(t_tagRevision revision, uint64_t size, streamOut& out);
void WritePadding(uint64_t size, streamOut& out);

// Bytes of padding for a tag of `total` bytes, header included; the parameters are
// those of t_tag::Write.
uint64_t PaddingFor(uint64_t total, uint64_t availableSize, uint64_t maxPadding, size_t alignment);

// Writes a tag of revision 3 or 4 as t_tag::Write describes. `emit` gives its frames to a
// sink, and is called twice: to learn the size, then to write.
void WriteTag(t_tagRevision revision, const std::function<void(const FrameSink&)>& emit,
              streamOut& out, uint64_t availableSize, uint64_t maxPadding, size_t alignment);

} // namespace aiff::id3parser
