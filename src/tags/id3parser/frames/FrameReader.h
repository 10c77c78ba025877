// SPDX-License-Identifier: MIT

// The pieces of an ID3v2 tag below the frame list: integers, headers and bodies, and the
// walk from frame to frame that reading and editing share. What reads throws parseError for
// bytes that are not what they should be.
#pragma once

#include "tags/id3parser/bytes/Streams.h"
#include "tags/id3parser/frames/Frame.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace aiff::id3parser
{

// Format flags of a frame header: the second flags byte.
namespace format3
{
inline constexpr uint8_t kCompressed = 0x80;
inline constexpr uint8_t kEncrypted = 0x40;
inline constexpr uint8_t kGrouped = 0x20;
} // namespace format3
namespace format4
{
inline constexpr uint8_t kGrouped = 0x40;
inline constexpr uint8_t kCompressed = 0x08;
inline constexpr uint8_t kEncrypted = 0x04;
inline constexpr uint8_t kUnsynchronised = 0x02;
inline constexpr uint8_t kDataLength = 0x01;
} // namespace format4

// The status flag of ID3v2.4 for frames that must not be changed.
inline constexpr uint8_t kReadOnly_v4 = 0x10;

// Header flags of a tag.
namespace tagFlags
{
inline constexpr uint8_t kUnsynchronised = 0x80;
inline constexpr uint8_t kExtendedHeader = 0x40;
inline constexpr uint8_t kFooter = 0x10;     // from ID3v2.4 on
inline constexpr uint8_t kUnknown_v4 = 0x0F; // has no meaning in any version
} // namespace tagFlags

inline constexpr size_t kTagHeaderSize = 10;
inline constexpr size_t kFrameHeaderSize = 10; // from ID3v2.3 on

// No frame body may be this large or larger.
inline constexpr uint32_t kFrameSizeLimit = 0x4000000;

// The field with a body's decoded size that comes before its data.
inline constexpr size_t kDataLengthSize = 4;

struct TagHeader {
    uint8_t major = 0;
    uint8_t flags = 0;
    uint32_t size = 0; // bytes after the header, without a footer
};

struct FrameHeader {
    std::array<char, 5> name{}; // as it is in the tag, and a 0
    uint32_t id = 0;            // four characters; 0: an ID3v2.2 name without translation
    uint32_t size = 0;
    uint8_t statusFlags = 0;
    uint8_t formatFlags = 0;
};

// How the sizes of frames are read.
enum class FrameSizes : uint8_t {
    OfRevision,
    Plain, // those of ID3v2.4 as in ID3v2.3, for tags of a program that wrote so
};

uint32_t read_sync_safe_integer(streamIn& in); // 28 bits
uint32_t read_big_endian(streamIn& in);

// Checks the magic only: not the version, not the flags.
TagHeader ReadTagHeader(streamIn& in);
// Whether the version is known, and every flag that is set.
bool IsReadable(const TagHeader& header);
// Whether the tag is unsynchronised as a whole. From ID3v2.4 on each frame says so for
// itself.
bool IsUnsynchronised(const TagHeader& header);
// Skips the extended header when the tag's flags announce one.
void SkipExtendedHeader(streamIn& in, t_tagRevision revision, uint8_t flags);

// Reads the next frame header; false at the end of the data or at padding.
bool ReadFrameHeader(streamIn& in, t_tagRevision revision, FrameSizes sizes, FrameHeader& header);

// Goes from frame to frame up to the end of the data or to padding. `visit` is called
// with each header and takes the frame's body from the stream or skips it.
template <class Visit>
void WalkFrames(streamIn& in, t_tagRevision revision, FrameSizes sizes, Visit visit)
{
    FrameHeader header;
    while (ReadFrameHeader(in, revision, sizes, header))
        visit(header);
}

// Whether the flags let the frame's body be read: that of any other is passed over.
bool IsRead(const FrameHeader& header, t_tagRevision revision);
// Reads the body of such a frame, whose identifier is set. False for a compressed one,
// which was consumed.
bool ReadFrameBody(streamIn& in, t_tagRevision revision, const FrameHeader& header, t_frame& frame);

// Reads `size` bytes. Never sets more memory aside than the stream can fill.
void ReadBody(streamIn& in, size_t size, t_byteVector& body);
void ReadBody_v4(streamIn& in, const FrameHeader& header, t_byteVector& body);

// Gives an ID3v2.2 picture the layout of ID3v2.3.
void PostprocessV2Frame(t_frame& frame);
void PostprocessV2PIC(t_byteVector& body);
// The same for any text encoding.
void ConvertPIC(t_byteVector& body);
const char* ImageTypeToMime(const char* imageFormat); // of three characters

// The identifier of four characters; of three and a zero it is an ID3v2.2 name, with 0 for
// one that reading does not know.
uint32_t ReadFrameID(const char* id4);
// Accepts every name: what is no sensible identifier is kept as it is.
bool validate_name(const char* name, size_t length);

// Decompresses in place. There is no decompressor: always false.
bool zlib_decode_inplace(t_byteVector& body);

} // namespace aiff::id3parser
