// The pieces of an ID3v2 tag below the frame list: integers, frame headers and
// bodies. The parser and the walk over raw frames share them, so that both see
// the same frames. All of them throw parseError.
#pragma once

#include "tags/id3parser/bytes/ByteVector.h"
#include "tags/id3parser/bytes/Streams.h"

#include <cstddef>
#include <cstdint>

namespace id3parser
{

class t_frame;

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
} // namespace tagFlags

inline constexpr size_t kTagHeaderSize = 10;
inline constexpr size_t kFrameHeaderSize = 10; // from ID3v2.3 on

// No frame body may be this large or larger.
inline constexpr uint32_t kFrameSizeLimit = 0x4000000;

// Decoded size that a compressed frame announces in front of its data.
inline constexpr size_t kDataLengthSize = 4;

struct TagHeader {
    uint8_t major = 0;
    uint8_t flags = 0;
    uint32_t size = 0; // bytes behind the header, without a footer
};

struct FrameHeader {
    uint32_t id = 0; // four characters; 0: an ID3v2.2 identifier without translation
    uint32_t size = 0;
    uint8_t statusFlags = 0;
    uint8_t formatFlags = 0;
};

uint32_t read_sync_safe_integer(streamIn& in); // 28 bits
uint32_t read_big_endian(streamIn& in);

// Checks the magic only: not the version, not the flags.
TagHeader ReadTagHeader(streamIn& in);
// Skips the extended header when the flags announce one.
void SkipExtendedHeader_v3(uint8_t flags, streamIn& in);
void SkipExtendedHeader_v4(uint8_t flags, streamIn& in);

// Read the next frame header; false at the end of the data or at padding.
bool ReadFrameHeader_v2(streamIn& in, FrameHeader& header);
bool ReadFrameHeader_v3(streamIn& in, FrameHeader& header);
// plainSize: the size is read as in ID3v2.3, for tags of a program that wrote so.
bool ReadFrameHeader_v4(streamIn& in, FrameHeader& header, bool plainSize = false);

// Whether the parser reads the frame's body: the rest is passed over.
bool IsRead_v3(const FrameHeader& header);
bool IsRead_v4(const FrameHeader& header);

// Reads `size` bytes. Never sets more memory aside than the stream can fill.
void ReadBody(streamIn& in, size_t size, t_byteVector& body);
// Returns false for a compressed body, which was consumed.
bool ReadBody_v3(streamIn& in, const FrameHeader& header, t_byteVector& body);
void ReadBody_v4(streamIn& in, const FrameHeader& header, t_byteVector& body);

// Gives an ID3v2.2 picture the layout of ID3v2.3.
void PostprocessV2Frame(t_frame& frame);
void PostprocessV2PIC(t_byteVector& body);
const char* ImageTypeToMime(const char* format3);

// The identifier of four characters; of three and a zero it is an ID3v2.2 name, with 0 for
// one that reading does not know.
uint32_t ReadFrameID(const char* id4);
// Accepts every name: what is no sensible identifier is kept as it is.
bool validate_name(const char* name, size_t length);

// Whether unsynchronisation would have to change the data: a byte of 0xE0 or
// above behind 0xFF, or 0xFF at the end.
bool test_for_false_sync(streamIn& in);
bool test_for_false_sync(const void* data, size_t size);

// Decompresses in place. There is no decompressor: always false.
bool zlib_decode_inplace(t_byteVector& body);

} // namespace id3parser
