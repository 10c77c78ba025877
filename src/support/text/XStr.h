// SPDX-License-Identifier: MIT

// Wide strings: the system's text type, with the conversions that keys, field names,
// file names and report lines need. None of them looks at the process locale.
#pragma once

#include "support/text/Ascii.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace aiff
{

// Code points, one per 32-bit unit.
using XStr = std::wstring;
static_assert(sizeof(wchar_t) == 4, "wide strings hold 32-bit code points");

// UTF-8 of a text. What is no Unicode scalar value (a surrogate, anything above
// U+10FFFF) becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);

// UTF-8 of UTF-16. A surrogate that is not part of a pair becomes U+FFFD.
std::string ToUtf8(std::u16string_view units);

// The text of UTF-8 bytes; each byte that begins no valid sequence becomes U+FFFD.
XStr FromUtf8(std::string_view bytes);

// The text of a file name's bytes, and the bytes of such a text. Bytes 0x80..0xFF that
// are not part of valid UTF-8 become U+DC80..U+DCFF and back, so that every file can be
// named. ToPathBytes is false for an empty name and for one that holds anything else
// that is no character.
XStr FromPathBytes(std::string_view path);
[[nodiscard]] bool ToPathBytes(std::wstring_view name, std::string& path);

// Text of single-byte characters in Windows code page 1252.
XStr FromAnsi(std::span<const uint8_t> bytes);

// The integer at the beginning of a text, after blanks and an optional sign; 0 when
// there is none. Saturates at the limits of int.
int LeadingInteger(std::wstring_view text);

// The system's own description of an error number, for people.
XStr SystemText(int errorNumber);

// A size for people: "1 byte", "512 bytes", "30.5 KB", scaled by 1024.
XStr SizeText(int64_t bytes);

} // namespace aiff
