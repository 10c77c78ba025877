// SPDX-License-Identifier: MIT
#include "tags/id3parser/frames/FrameReader.h"

#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace aiff::id3parser
{

namespace
{

constexpr size_t kLongestMimeType = 16; // of an ID3v2.2 picture, with its zero

uint8_t ReadByte(streamIn& in)
{
    uint8_t byte = 0;
    in.readObj(&byte, 1);
    return byte;
}

// The length of the result is not known in advance: the body grows as it is read.
void ReadUnsynchronised(streamIn& in, size_t size, t_byteVector& body)
{
    streamLimited limited(in, size);
    streamFixSync fixed(limited);
    body.set_size(0);
    if (in.left() != streamIn::kUnknown)
        body.reserve(std::min(size, in.left()) + 1);
    size_t chunk = 256;
    for (;;) {
        const size_t done = body.get_size();
        chunk = std::min(chunk, size + 1 - done); // one more than there is: shows the end
        body.set_size(done + chunk);
        const size_t got = fixed.read(body.get_ptr() + done, chunk);
        if (got < chunk) {
            body.set_size(done + got);
            return;
        }
        if (chunk * 2 <= chunk)
            throw std::overflow_error("overflow");
        chunk *= 2;
    }
}

// False for a compressed body, which was consumed.
bool ReadBody_v3(streamIn& in, const FrameHeader& header, t_byteVector& body)
{
    if (!(header.formatFlags & format3::kCompressed)) {
        ReadBody(in, header.size, body);
        return true;
    }
    if (header.size < kDataLengthSize)
        throw parseError();
    in.skipObj(kDataLengthSize);
    ReadBody(in, header.size - kDataLengthSize, body);
    return zlib_decode_inplace(body);
}

} // namespace

uint32_t read_big_endian(streamIn& in)
{
    uint8_t b[4];
    in.readObj(b, sizeof b);
    return uint32_t{b[0]} << 24 | uint32_t{b[1]} << 16 | uint32_t{b[2]} << 8 | b[3];
}

uint32_t read_sync_safe_integer(streamIn& in)
{
    uint8_t b[4];
    in.readObj(b, sizeof b);
    if ((b[0] | b[1] | b[2] | b[3]) & 0x80)
        throw parseError();
    return uint32_t{b[0]} << 21 | uint32_t{b[1]} << 14 | uint32_t{b[2]} << 7 | b[3];
}

TagHeader ReadTagHeader(streamIn& in)
{
    char magic[3];
    in.readObj(magic, sizeof magic);
    if (std::memcmp(magic, "ID3", sizeof magic) != 0)
        throw parseError();
    TagHeader header;
    header.major = ReadByte(in);
    ReadByte(in); // the minor version never breaks compatibility
    header.flags = ReadByte(in);
    header.size = read_sync_safe_integer(in);
    return header;
}

bool IsReadable(const TagHeader& header)
{
    switch (header.major) {
    case kRevision2:
        return !(header.flags & 0x7F); // compression among them
    case kRevision3:
        return !(header.flags & (tagFlags::kFooter | tagFlags::kUnknown_v4));
    case kRevision4:
        return !(header.flags & tagFlags::kUnknown_v4);
    default:
        return false;
    }
}

bool IsUnsynchronised(const TagHeader& header)
{
    return header.major < kRevision4 && (header.flags & tagFlags::kUnsynchronised);
}

void SkipExtendedHeader(streamIn& in, t_tagRevision revision, uint8_t flags)
{
    constexpr uint32_t kLeast_v4 = 6;
    if (revision == kRevision2 || !(flags & tagFlags::kExtendedHeader))
        return;
    if (revision == kRevision3) {
        in.skipObj(read_big_endian(in)); // does not count the size field
        return;
    }
    const uint32_t size = read_sync_safe_integer(in); // counts the size field
    if (size < kLeast_v4)
        throw parseError();
    in.skipObj(size - 4);
}

bool ReadFrameHeader(streamIn& in, t_tagRevision revision, FrameSizes sizes, FrameHeader& header)
{
    header = {};
    const size_t nameSize = revision == kRevision2 ? 3 : 4;
    if (in.read(header.name.data(), nameSize) != nameSize || header.name[0] == 0 ||
        !validate_name(header.name.data(), nameSize))
        return false;
    if (revision == kRevision2) {
        header.size = uint32_t{ReadByte(in)} << 16;
        header.size |= uint32_t{ReadByte(in)} << 8;
        header.size |= ReadByte(in);
    } else if (revision == kRevision3 || sizes == FrameSizes::Plain) {
        header.size = read_big_endian(in);
    } else {
        header.size = read_sync_safe_integer(in);
    }
    if (revision == kRevision3) {
        header.statusFlags = ReadByte(in);
        header.formatFlags = ReadByte(in);
    } else if (revision == kRevision4) {
        // Missing flags show soon enough: the body is missing, too.
        in.read(&header.statusFlags, 1);
        in.read(&header.formatFlags, 1);
    }
    if (header.size >= kFrameSizeLimit)
        throw parseError();
    header.id = revision == kRevision2 ? translate_v2_id(header.name.data())
                                       : ReadFrameID(header.name.data());
    return true;
}

bool IsRead(const FrameHeader& header, t_tagRevision revision)
{
    constexpr uint8_t kPreservation_v4 = 0x40 | 0x20; // when the tag or the file is altered
    if (revision == kRevision3)
        return !(header.formatFlags & (format3::kEncrypted | format3::kGrouped));
    if (revision == kRevision4)
        return !(header.statusFlags & (kPreservation_v4 | kReadOnly_v4)) &&
               !(header.formatFlags & (format4::kGrouped | format4::kEncrypted));
    return true;
}

bool ReadFrameBody(streamIn& in, t_tagRevision revision, const FrameHeader& header, t_frame& frame)
{
    if (revision == kRevision3)
        return ReadBody_v3(in, header, frame.data);
    if (revision == kRevision4) {
        ReadBody_v4(in, header, frame.data);
    } else {
        // The picture is large and becomes a little larger.
        if (frame.id == kFrameAPIC && in.left() != streamIn::kUnknown)
            frame.data.reserve(std::min<size_t>(header.size, in.left()) + kLongestMimeType);
        ReadBody(in, header.size, frame.data);
        PostprocessV2Frame(frame);
    }
    return true;
}

void ReadBody(streamIn& in, size_t size, t_byteVector& body)
{
    constexpr size_t kFirstPiece = 256 * 1024;
    const size_t left = in.left();
    if (left != streamIn::kUnknown && size > left)
        throw parseError();
    body.set_size(0);
    size_t piece = left == streamIn::kUnknown ? kFirstPiece : size;
    for (size_t done = 0; done < size; done += piece, piece = done) {
        piece = std::min(piece, size - done);
        body.set_size(done + piece);
        in.readObj(body.get_ptr() + done, piece);
    }
}

void ReadBody_v4(streamIn& in, const FrameHeader& header, t_byteVector& body)
{
    size_t size = header.size;
    if (header.formatFlags & format4::kDataLength) {
        if (size < kDataLengthSize)
            throw parseError();
        size -= kDataLengthSize;
        in.skipObj(kDataLengthSize);
    }
    if (header.formatFlags & format4::kUnsynchronised)
        ReadUnsynchronised(in, size, body);
    else
        ReadBody(in, size, body);
    if ((header.formatFlags & format4::kCompressed) && !zlib_decode_inplace(body))
        throw parseError();
}

void PostprocessV2Frame(t_frame& frame)
{
    if (frame.id == kFrameAPIC)
        PostprocessV2PIC(frame.data);
}

void PostprocessV2PIC(t_byteVector& body)
{
    if (body.get_size() == 0 || body.get_ptr()[0] > 1) // ISO-8859-1 and UTF-16 only
        throw parseError();
    ConvertPIC(body);
}

void ConvertPIC(t_byteVector& body)
{
    constexpr size_t kFormatStart = 1, kFormatEnd = 4;
    const size_t size = body.get_size();
    if (size < kFormatEnd)
        throw parseError();
    const char* mime =
        ImageTypeToMime(reinterpret_cast<const char*>(body.get_ptr() + kFormatStart));
    const size_t mimeSize = std::strlen(mime) + 1;
    body.set_size(size - (kFormatEnd - kFormatStart) + mimeSize);
    uint8_t* bytes = body.get_ptr();
    std::memmove(bytes + kFormatStart + mimeSize, bytes + kFormatEnd, size - kFormatEnd);
    std::memcpy(bytes + kFormatStart, mime, mimeSize);
}

const char* ImageTypeToMime(const char* imageFormat)
{
    const std::string_view format(imageFormat, 3);
    if (format == "PNG")
        return "image/png";
    if (format == "JPG")
        return "image/jpeg";
    if (format == "GIF")
        return "image/gif";
    return "image/x-unknown";
}

uint32_t ReadFrameID(const char* id4)
{
    if (id4[3] == 0)
        return translate_v2_id(id4); // an ID3v2.2 identifier in a later tag
    uint32_t id = 0;
    for (int i = 0; i < 4; ++i)
        id = id << 8 | static_cast<uint8_t>(id4[i]);
    return id;
}

bool validate_name(const char*, size_t)
{
    return true;
}

bool zlib_decode_inplace(t_byteVector&)
{
    return false;
}

} // namespace aiff::id3parser
