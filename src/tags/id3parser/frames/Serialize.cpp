// SPDX-License-Identifier: MIT
#include "tags/id3parser/frames/Serialize.h"

#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FrameReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace aiff::id3parser
{

namespace
{

constexpr uint32_t kSizeLimit = 0x10000000; // 28 bits

// Padding of a tag that does not fill the room it had.
constexpr uint64_t kDefaultPadding = 2048;

void WriteBigEndian32(streamOut& out, uint32_t value)
{
    const std::array<uint8_t, 4> bytes = {
        static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16),
        static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
    out.write(bytes.data(), bytes.size());
}

// The zeros that unsync() would add.
size_t CountUnsyncZeros(std::span<const uint8_t> bytes)
{
    size_t count = 0;
    const uint8_t* at = bytes.data();
    const uint8_t* const end = at + bytes.size();
    while (at != end) {
        at = static_cast<const uint8_t*>(std::memchr(at, 0xFF, static_cast<size_t>(end - at)));
        if (at == nullptr)
            break;
        ++at;
        count += at == end || *at == 0 || *at >= 0xE0;
    }
    return count;
}

// What is written of a frame.
struct Layout {
    uint8_t formatFlags = 0;
    std::span<const uint8_t> before; // of the body; is never unsynchronised
    std::span<const uint8_t> head, body;
    bool unsynchronise = false;
    bool addsDataLength = false;
    size_t size = 0; // of what follows the frame header
};

// An ID3v2.4 tag is always written with the flag that makes some readers undo
// unsynchronisation in every frame: each must bear that.
Layout LayOut(const OutFrame& frame, t_tagRevision revision)
{
    Layout layout = {frame.formatFlags, {}, frame.head, frame.body};
    layout.size = frame.head.size() + frame.body.size();
    const bool done = (frame.formatFlags & format4::kUnsynchronised) != 0;
    if (revision != kRevision4 || done || !frame.mayNeedUnsync)
        return layout;
    // What stands for a length before the body is never unsynchronised, whatever it is; where other
    // data come between the two, readers disagree.
    constexpr uint8_t kBefore = format4::kDataLength | format4::kGrouped | format4::kEncrypted;
    if ((frame.formatFlags & kBefore) == format4::kDataLength &&
        layout.body.size() >= kDataLengthSize) {
        layout.before = layout.body.first(kDataLengthSize);
        layout.body = layout.body.subspan(kDataLengthSize);
    }
    const size_t zeros = CountUnsyncZeros(layout.head) + CountUnsyncZeros(layout.body);
    if (zeros == 0)
        return layout;
    layout.unsynchronise = true;
    layout.addsDataLength = frame.formatFlags == 0;
    layout.formatFlags |= format4::kUnsynchronised;
    layout.size += zeros;
    if (layout.addsDataLength) {
        layout.formatFlags |= format4::kDataLength;
        layout.size += kDataLengthSize;
    }
    return layout;
}

void WritePart(std::span<const uint8_t> part, bool unsynchronise, streamOut& out)
{
    streamInMem in(part);
    if (unsynchronise)
        unsync(in, out);
    else
        out.write(part.data(), part.size());
}

void WriteFrame(const OutFrame& frame, t_tagRevision revision, streamOut& out)
{
    const Layout layout = LayOut(frame, revision);
    WriteBigEndian32(out, frame.id);
    if (revision == kRevision4)
        write_sync_safe_integer(out, safeDowncast(layout.size));
    else
        write_big_endian(out, safeDowncast(layout.size));
    out.writeByte(frame.statusFlags);
    out.writeByte(layout.formatFlags);
    WritePart(layout.before, false, out);
    if (layout.addsDataLength)
        write_sync_safe_integer(out, safeDowncast(layout.head.size() + layout.body.size()));
    WritePart(layout.head, layout.unsynchronise, out);
    WritePart(layout.body, layout.unsynchronise, out);
}

} // namespace

void write_big_endian(streamOut& out, uint32_t value)
{
    if (value >= kSizeLimit)
        throw writeError();
    WriteBigEndian32(out, value);
}

void write_sync_safe_integer(streamOut& out, uint32_t value)
{
    if (value >= kSizeLimit)
        throw writeError();
    const std::array<uint8_t, 4> bytes = {
        static_cast<uint8_t>(value >> 21), static_cast<uint8_t>(value >> 14 & 0x7F),
        static_cast<uint8_t>(value >> 7 & 0x7F), static_cast<uint8_t>(value & 0x7F)};
    out.write(bytes.data(), bytes.size());
}

uint32_t safeDowncast(uint64_t value)
{
    if (value > std::numeric_limits<uint32_t>::max())
        throw std::overflow_error("overflow");
    return static_cast<uint32_t>(value);
}

void unsync(streamIn& in, streamOut& out)
{
    std::array<uint8_t, 4096> buffer;
    std::array<uint8_t, 2 * buffer.size()> result;
    bool afterFF = false;
    while (const size_t count = in.read(buffer.data(), buffer.size())) {
        size_t length = 0;
        for (size_t i = 0; i < count; ++i) {
            if (afterFF && (buffer[i] == 0 || buffer[i] >= 0xE0))
                result[length++] = 0;
            result[length++] = buffer[i];
            afterFF = buffer[i] == 0xFF;
        }
        out.write(result.data(), length);
    }
    if (afterFF)
        out.writeByte(0);
}

OutFrame AsNew(const t_frame& frame)
{
    OutFrame out;
    out.id = frame.id;
    out.body = frame.data.view();
    return out;
}

void WriteFrame_v3(const OutFrame& frame, streamOut& out)
{
    WriteFrame(frame, kRevision3, out);
}

void WriteFrame_v4(const OutFrame& frame, streamOut& out)
{
    WriteFrame(frame, kRevision4, out);
}

size_t FrameSize(const OutFrame& frame, t_tagRevision revision)
{
    const size_t size = LayOut(frame, revision).size;
    if (safeDowncast(size) >= kSizeLimit)
        throw writeError();
    return kFrameHeaderSize + size;
}

void WriteTagHeader(t_tagRevision revision, uint64_t size, streamOut& out)
{
    streamOutBuffer header;
    header.write("ID3", 3);
    header.writeByte(static_cast<uint8_t>(revision));
    header.writeByte(0);
    // The ID3v2.4 bit says that frames may be unsynchronised; each tells for itself.
    header.writeByte(revision == kRevision4 ? tagFlags::kUnsynchronised : uint8_t{0});
    write_sync_safe_integer(header, safeDowncast(size));
    out.write(header.bytes.data(), header.bytes.size());
}

void WritePadding(uint64_t size, streamOut& out)
{
    constexpr std::array<uint8_t, 256> kZeros{};
    while (size > 0) {
        const uint64_t piece = std::min<uint64_t>(size, kZeros.size());
        out.write(kZeros.data(), static_cast<size_t>(piece));
        size -= piece;
    }
}

uint64_t PaddingFor(uint64_t total, uint64_t availableSize, uint64_t maxPadding, size_t alignment)
{
    uint64_t padding = std::min(kDefaultPadding, maxPadding);
    if (total <= availableSize && availableSize - total <= maxPadding)
        padding = availableSize - total;
    const uint64_t excess = (total + padding) % alignment;
    return excess == 0 ? padding : padding + (alignment - excess);
}

// The size is known first: the frames go straight to where they belong, and one that
// cannot be written shows before anything is.
void WriteTag(t_tagRevision revision, const std::function<void(const FrameSink&)>& emit,
              streamOut& out, uint64_t availableSize, uint64_t maxPadding, size_t alignment)
{
    if (revision != kRevision3 && revision != kRevision4)
        throw writeError();
    uint64_t size = kTagHeaderSize;
    emit([&](const OutFrame& frame) { size += FrameSize(frame, revision); });
    const uint64_t padding = PaddingFor(size, availableSize, maxPadding, alignment);
    WriteTagHeader(revision, size + padding - kTagHeaderSize, out);
    out.expect(static_cast<size_t>(size + padding - kTagHeaderSize));
    emit([&](const OutFrame& frame) {
        revision == kRevision3 ? WriteFrame_v3(frame, out) : WriteFrame_v4(frame, out);
    });
    WritePadding(padding, out);
}

} // namespace aiff::id3parser
