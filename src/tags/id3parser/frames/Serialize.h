// Writing tags: the pieces of t_tag::Write. They throw writeError for what the format
// cannot express.
#pragma once

#include "tags/id3parser/bytes/Streams.h"
#include "tags/id3parser/frames/Frame.h"

#include <cstddef>
#include <cstdint>

namespace aiff::id3parser
{

// Both take 28 bits, so that a size reads the same in every revision.
void write_big_endian(streamOut& out, uint32_t value);
void write_sync_safe_integer(streamOut& out, uint32_t value);

// Throws std::overflow_error("overflow") for what 32 bits do not hold.
uint32_t safeDowncast(uint64_t value);

// Applies unsynchronisation: a 0 goes after every 0xFF that is followed by a 0, by a
// byte of 0xE0 or above, or by nothing.
void unsync(streamIn& in, streamOut& out);

// Write a frame of an old tag in its old form. A new body, or one that nobody has
// unsynchronised, is unsynchronised for ID3v2.4 where readers need it.
void WriteFrame_v3(const t_frame& frame, streamOut& out);
void WriteFrame_v4(const t_frame& frame, streamOut& out);

// Bytes that the frame takes when it is written, header included. Throws what writing
// it would.
size_t FrameSize(const t_frame& frame, t_tagRevision revision);

// The header of a tag of revision 3 or 4; `size` counts what follows it. Writes all of
// it or nothing.
void WriteTagHeader(t_tagRevision revision, uint64_t size, streamOut& out);
void WritePadding(uint64_t size, streamOut& out);

// Bytes of padding for a tag of `total` bytes, header included; the parameters are
// those of t_tag::Write.
uint64_t PaddingFor(uint64_t total, uint64_t availableSize, uint64_t maxPadding, size_t alignment);

} // namespace aiff::id3parser
