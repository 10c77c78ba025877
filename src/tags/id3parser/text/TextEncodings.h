// SPDX-License-Identifier: MIT

// The text encodings of ID3v2 frame bodies. Text leaves and enters as UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace aiff::id3parser
{

// The first byte of a body that carries text.
enum : uint8_t {
    kEncodingISO = 0,     // ISO-8859-1, read and written as Windows-1252
    kEncodingUTF16 = 1,   // with byte-order mark
    kEncodingUTF16BE = 2, // without
    kEncodingUTF8 = 3,
};

inline constexpr char16_t kByteOrderMark = 0xFEFF;

// Bytes per code unit; throws parseError for an unknown encoding.
size_t UnitSize(uint8_t encoding);

bool areWeLittleEndian();
char16_t byteSwap(char16_t unit);

// The bytes of a body, which need not be aligned, as 16-bit units in the machine's order.
// An odd last byte is left out.
class UnitView
{
public:
    explicit UnitView(std::span<const uint8_t> bytes) : m_bytes(bytes) {}

    size_t size() const { return m_bytes.size() / 2; }
    char16_t operator[](size_t index) const
    {
        char16_t unit;
        std::memcpy(&unit, m_bytes.data() + 2 * index, sizeof unit);
        return unit;
    }

private:
    std::span<const uint8_t> m_bytes;
};

// The number of units before the first zero, or of all.
size_t myStrLen(std::span<const uint8_t> bytes);
size_t myStrLen(UnitView units);

// Most strings of a body that are counted.
inline constexpr size_t kMostStrings = 1024;

// The number of strings, each of which ends at a zero or at the end of the body. More than
// kMostStrings throw parseError.
size_t GetStringCount_Helper(std::span<const uint8_t> bytes);
size_t GetStringCount_Helper(UnitView units);

// The cursor of a walk through the strings of a body.
struct t_frameWalk {
    size_t index = 0;    // the string reached
    size_t position = 0; // in units of the encoding
};

// Moves the walk to the string with that index and returns its position in units.
// A run of zeros is one separator.
size_t skipToIndex(std::span<const uint8_t> bytes, size_t index, t_frameWalk& walk);
size_t skipToIndex(UnitView units, size_t index, t_frameWalk& walk);

// Replaces `out` with the first string of the range. strict: ISO-8859-1 must be
// ASCII, UTF-8 valid and UTF-16 marked, else parseError.
void importString(std::string& out, uint8_t encoding, std::span<const uint8_t> bytes, bool strict);

// The same, piece by piece: `take` gets each piece that a separator, an ASCII character, ends,
// with that, and then what comes after the last one.
using TakePiece = std::function<void(std::string&&)>;
void importPieces(uint8_t encoding, std::span<const uint8_t> bytes, bool strict, char separator,
                  const TakePiece& take);

// All of a range as UTF-8, up to the first character that is 0. ISO-8859-1 is read as
// Windows-1252 in text, and as it is in URLs, where '?' replaces what has no character.
std::string importISO(std::span<const uint8_t> bytes);
std::string importURL(std::span<const uint8_t> bytes);
// Invalid UTF-8 is read as Windows-1252, or refused in strict mode.
std::string importUTF8(bool strict, std::span<const uint8_t> bytes);
// Units in the machine's byte order, and in the other one.
std::string importWide(std::u16string_view units);
std::string importWideSwapped(std::u16string_view units);

// From UTF-8, with '?' for what the target cannot hold. Text ends at its first zero.
std::string exportISO(std::string_view utf8);
std::string exportURL(std::string_view utf8);
std::u16string exportWide(std::string_view utf8);

// Throws parseError for any byte from 0x80 on.
void strict_mode_validate_ascii(std::span<const uint8_t> bytes);

} // namespace aiff::id3parser
