// Wide strings: the system's text type, with the conversions and comparisons that
// keys, field names, file names and report lines need. None of them looks at the
// process locale.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// Code points, one per 32-bit unit.
using XStr = std::wstring;
static_assert(sizeof(wchar_t) == 4, "wide strings hold 32-bit code points");

// UTF-8 of a text. What is no Unicode scalar value (a lone surrogate, anything
// above U+10FFFF) becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);

// The text of UTF-8 bytes; each byte that begins no valid sequence becomes U+FFFD.
XStr FromUtf8(std::string_view bytes);

// The bytes of a file name. U+DC80..U+DCFF stands for the raw byte 0x80..0xFF,
// so that names that are not UTF-8 can be opened. False when the name holds
// anything else that is no character, or is empty.
[[nodiscard]] bool ToPathBytes(std::wstring_view name, std::string& path);

// Text of single-byte characters in Windows code page 1252.
XStr FromAnsi(std::span<const uint8_t> bytes);

// Comparison that folds the ASCII letters.
bool EqualNoCase(std::wstring_view a, std::wstring_view b);
bool BeginsNoCase(std::wstring_view text, std::wstring_view prefix);

// `text` with its ASCII letters in lower case: equal for names that are equal
// under EqualNoCase.
XStr FoldCase(std::wstring_view text);

// `text` without the blanks, tabs and line ends around it.
std::wstring_view Trim(std::wstring_view text);

// The integer at the beginning of a text, after blanks and an optional sign; 0
// when there is none. Saturates at the limits of int.
int LeadingInteger(std::wstring_view text);

// What the system says of an error number, for people.
XStr SystemText(int errorNumber);

// A size for people: "1 byte", "512 bytes", "30.5 KB", scaled by 1024.
XStr SizeText(int64_t bytes);
