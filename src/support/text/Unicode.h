// SPDX-License-Identifier: MIT

// Code points, and the surrogates by which UTF-16 stores those above U+FFFF.
#pragma once

#include <cstdint>
#include <string_view>

namespace aiff
{

// Stands for what is no character.
inline constexpr uint32_t kReplacementCharacter = 0xFFFD;

constexpr bool IsHighSurrogate(uint32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool IsLowSurrogate(uint32_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// Whether a number is a character of Unicode.
constexpr bool IsScalarValue(uint32_t codePoint)
{
    return codePoint <= 0x10FFFF && !IsHighSurrogate(codePoint) && !IsLowSurrogate(codePoint);
}

// The surrogates of a code point from U+10000 to U+10FFFF.
constexpr char16_t HighSurrogateOf(uint32_t codePoint)
{
    return static_cast<char16_t>(0xD800 | ((codePoint - 0x10000) >> 10 & 0x3FF));
}

constexpr char16_t LowSurrogateOf(uint32_t codePoint)
{
    return static_cast<char16_t>(0xDC00 | (codePoint & 0x3FF));
}

// Takes the first code point off `units`, which are not empty: two surrogates that form
// a pair are one, any other unit is a code point of its own.
template <class Unit>
constexpr uint32_t TakeUtf16(std::basic_string_view<Unit>& units)
{
    const auto first = static_cast<uint32_t>(units[0]);
    const uint32_t second = units.size() > 1 ? static_cast<uint32_t>(units[1]) : 0;
    const bool isPair = IsHighSurrogate(first) && IsLowSurrogate(second);
    units.remove_prefix(isPair ? 2 : 1);
    return isPair ? 0x10000 + ((first & 0x3FF) << 10 | (second & 0x3FF)) : first;
}

} // namespace aiff
