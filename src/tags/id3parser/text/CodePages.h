// SPDX-License-Identifier: MIT

// Conversions between the code pages of tags, UTF-16 and the 32-bit text of the system.
// All of them stop at the first character that decodes to 0: at the end of the input, at
// a zero or at an invalid sequence.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace aiff::id3parser::conv
{

enum class CodePage {
    Windows1252 = 0,
    Ascii = 1,
    Iso8859_1 = 2,
    Utf8 = 3,
};

// --- One character ---

// One byte to its code point; '?' where the code page has no character.
uint32_t charImport1252(uint8_t byte);
uint32_t charImportASCII(uint8_t byte);
uint32_t charImportISO(uint8_t byte);

// One code point to its byte; '?' where the code page has no such character.
uint8_t charExport1252(uint32_t codePoint);
uint8_t charExportASCII(uint32_t codePoint);
uint8_t charExportISO(uint32_t codePoint);

// Decode the first character of the input and return how many bytes or units it takes: 0,
// with the code point 0, at the end, at a zero and, in UTF-8, at an invalid sequence.
// UTF-8 characters have up to six bytes; lone surrogates pass in both.
size_t utf8_decode_char(std::span<const uint8_t> bytes, uint32_t& codePoint);
size_t utf16_decode_char(std::u16string_view units, uint32_t& codePoint);

// Encode one character and return its length in bytes or units; a null `out` only
// measures. UTF-8 takes up to 6 bytes, and none from 0x80000000 on; UTF-16 takes up to 2
// units, and has '?' from 0x100000 on.
size_t utf8_encode_char(uint32_t codePoint, char* out);
size_t utf16_encode_char(uint32_t codePoint, char16_t* out);
size_t utf16_char_len(uint32_t codePoint);

// Decodes the character at `position` and moves past it; 0 at the end.
uint32_t decodeCP(CodePage codePage, std::span<const uint8_t> bytes, size_t& position);
// Calls `take` with each character of the text.
template <class Take>
void ForEachCharacter(std::string_view utf8, Take take)
{
    const std::span bytes(reinterpret_cast<const uint8_t*>(utf8.data()), utf8.size());
    size_t position = 0;
    while (const uint32_t codePoint = decodeCP(CodePage::Utf8, bytes, position))
        take(codePoint);
}
// Encodes one character, in up to 6 bytes; a null `out` only measures.
size_t encodeCP(CodePage codePage, uint32_t codePoint, char* out);

// --- Strings ---

// A whole text in another form.
std::u16string codepageToWide(CodePage codePage, std::span<const uint8_t> bytes);
std::string wideToCodepage(CodePage codePage, std::u16string_view units);

// Their two passes: the number of units or bytes of the result with its terminating 0, and
// the filling of a buffer of that size.
size_t estimate_codepage_to_wide(CodePage codePage, std::span<const uint8_t> bytes);
size_t estimate_wide_to_codepage(CodePage codePage, std::u16string_view units);
void convert_codepage_to_wide(CodePage codePage, std::span<const uint8_t> bytes, char16_t* out);
void convert_wide_to_codepage(CodePage codePage, std::u16string_view units, char* out);

// Whether all are ASCII and none is zero: such a text is the same in every code page.
bool IsPlainAscii(std::span<const uint8_t> bytes);

// Whether the bytes survive the way to UTF-16 and back. Those of plane 16 do not.
bool isValidUTF8(std::span<const uint8_t> bytes);

// Between UTF-8 and the system's text. Lone surrogates pass both ways; a pair of them
// becomes one character in UTF-8, and what is above U+10FFFF becomes '?' there.
std::wstring Utf8ToText(std::string_view utf8);
std::string TextToUtf8(std::wstring_view text);

} // namespace aiff::id3parser::conv
