#include "tags/id3parser/frames/Serialize.h"

#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FrameReader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <stdexcept>

namespace id3parser
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

void WriteFrameHeader(uint32_t id, t_tagRevision revision, size_t size, uint8_t statusFlags,
                      uint8_t formatFlags, streamOut& out)
{
    WriteBigEndian32(out, id);
    if (revision == kRevision4)
        write_sync_safe_integer(out, safeDowncast(size));
    else
        write_big_endian(out, safeDowncast(size));
    out.writeByte(statusFlags);
    out.writeByte(formatFlags);
}

void WriteUnsynchronisedFrame_v4(uint32_t id, uint8_t statusFlags, std::span<const uint8_t> body,
                                 streamOut& out)
{
    streamInMem in(body);
    streamOutBuffer unsynchronised;
    unsync(in, unsynchronised);
    WriteFrameHeader(id, kRevision4, unsynchronised.bytes.size() + kDataLengthSize, statusFlags,
                     format4::kUnsynchronised | format4::kDataLength, out);
    write_sync_safe_integer(out, safeDowncast(body.size()));
    out.write(unsynchronised.bytes.data(), unsynchronised.bytes.size());
}

void WriteFrame_v3(const t_frame& frame, streamOut& out)
{
    WriteFrameHeader(frame.id, kRevision3, frame.data.get_size(), 0, 0, out);
    out.write(frame.data.get_ptr(), frame.data.get_size());
}

void WriteFrame_v4(const t_frame& frame, streamOut& out)
{
    const auto body = frame.data.view();
    if (test_for_false_sync(body.data(), body.size())) {
        WriteUnsynchronisedFrame_v4(frame.id, 0, body, out);
        return;
    }
    WriteFrameHeader(frame.id, kRevision4, body.size(), 0, 0, out);
    out.write(body.data(), body.size());
}

void WriteTagHeader(t_tagRevision revision, uint64_t size, streamOut& out)
{
    out.write("ID3", 3);
    out.writeByte(static_cast<uint8_t>(revision));
    out.writeByte(0);
    // The ID3v2.4 bit says that frames may be unsynchronised; each tells for itself.
    out.writeByte(revision == kRevision4 ? tagFlags::kUnsynchronised : uint8_t{0});
    write_sync_safe_integer(out, safeDowncast(size));
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

void t_tag::WriteContent_v3(streamOut& out) const
{
    for (const t_frame& frame : m_frames)
        WriteFrame_v3(frame, out);
}

void t_tag::WriteContent_v4(streamOut& out) const
{
    for (const t_frame& frame : m_frames)
        WriteFrame_v4(frame, out);
}

void t_tag::Write(streamOut& out, uint64_t availableSize, uint64_t maxPadding,
                  size_t alignment) const
{
    if (m_revision != kRevision3 && m_revision != kRevision4)
        throw writeError();
    streamOutBuffer content;
    if (m_revision == kRevision3)
        WriteContent_v3(content);
    else
        WriteContent_v4(content);

    const uint64_t size = content.bytes.size();
    const uint64_t padding =
        PaddingFor(size + kTagHeaderSize, availableSize, maxPadding, alignment);
    WriteTagHeader(m_revision, size + padding, out);
    out.write(content.bytes.data(), content.bytes.size());
    WritePadding(padding, out);
}

} // namespace id3parser
