// SPDX-License-Identifier: MIT

// Four-character codes of the AIFF family.
#pragma once

#include <cstdint>

namespace aiff
{

// Packs four characters, the first one into the least significant byte: the value that a
// little-endian machine gets by reading the four bytes of a chunk header.
constexpr uint32_t FourCC(const char* text)
{
    uint32_t code = 0;
    for (int i = 3; i >= 0; --i)
        code = code << 8 | static_cast<uint8_t>(text[i]);
    return code;
}
static_assert(FourCC("FORM") == 0x4D524F46);

// The code at the first four bytes, and those bytes set to a code.
constexpr uint32_t ReadCode(const uint8_t* bytes)
{
    return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 |
           uint32_t{bytes[3]} << 24;
}

constexpr void WriteCode(uint32_t code, uint8_t* bytes)
{
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(code >> 8 * i);
}

inline constexpr const char* kChunkForm = "FORM";
inline constexpr const char* kChunkCommon = "COMM";
inline constexpr const char* kChunkSound = "SSND";
inline constexpr const char* kChunkID3 = "ID3 ";
inline constexpr const char* kChunkFiller = "FLLR"; // which readers skip

inline constexpr const char* kFormTypeAIFF = "AIFF";
inline constexpr const char* kFormTypeAIFC = "AIFC";

inline constexpr const char* kCompressionNone = "NONE";

// Sizes in bytes.
inline constexpr int64_t kFormHeaderSize = 12; // code, size, form type
inline constexpr int64_t kChunkHeaderSize = 8; // code, size
inline constexpr int64_t kSoundPrefixSize = 8; // offset and block size before the frames
inline constexpr int64_t kLeastCommonSize = 18;
inline constexpr int64_t kMostCommonSize = 128000;
// Most bytes of a common chunk, or after the last chunk, for a file without sound data to
// be believed: with more, it may hold sound that its headers do not mention.
inline constexpr int64_t kMostWithoutSound = 512;
inline constexpr int64_t kCommonSizeWithType = 22; // least that holds a compression type

// Bytes that a chunk's data occupies in the file: data of an odd size is followed by a pad
// byte that the size does not count.
constexpr int64_t PaddedSize(int64_t size)
{
    return size + (size & 1);
}

} // namespace aiff
