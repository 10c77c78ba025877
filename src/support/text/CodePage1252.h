// SPDX-License-Identifier: MIT

// Windows code page 1252.
#pragma once

#include <cstdint>

namespace aiff
{

// Code points of the bytes 0x80 to 0x9F; 0 where the code page has no character.
// Every other byte is the code point of the same number.
inline constexpr uint16_t kCodePage1252High[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// The code point of a byte; '?' for the five that have none.
constexpr uint32_t CodePointOf1252(uint8_t byte)
{
    if (byte < 0x80 || byte >= 0xA0)
        return byte;
    const uint16_t codePoint = kCodePage1252High[byte - 0x80];
    return codePoint != 0 ? codePoint : uint32_t{'?'};
}

} // namespace aiff
