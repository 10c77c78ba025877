// SPDX-License-Identifier: MIT
#include "tags/id3parser/text/CodePages.h"

#include "support/text/CodePage1252.h"
#include "support/text/Unicode.h"
#include "support/text/Utf8.h"

#include <algorithm>

namespace aiff::id3parser::conv
{

namespace
{

constexpr uint32_t kSubstitute = '?';

std::span<const uint8_t> BytesOf(std::string_view text)
{
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

} // namespace

uint32_t charImport1252(uint8_t byte)
{
    return CodePointOf1252(byte);
}

uint32_t charImportASCII(uint8_t byte)
{
    return byte < 0x80 ? byte : kSubstitute;
}

uint32_t charImportISO(uint8_t byte)
{
    return byte < 0x80 || byte >= 0xA0 ? byte : kSubstitute;
}

uint8_t charExport1252(uint32_t codePoint)
{
    if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF))
        return static_cast<uint8_t>(codePoint);
    const auto* found =
        std::find(std::begin(kCodePage1252High), std::end(kCodePage1252High), codePoint);
    if (found == std::end(kCodePage1252High))
        return kSubstitute;
    return static_cast<uint8_t>(0x80 + (found - kCodePage1252High));
}

uint8_t charExportASCII(uint32_t codePoint)
{
    return static_cast<uint8_t>(codePoint < 0x80 ? codePoint : kSubstitute);
}

uint8_t charExportISO(uint32_t codePoint)
{
    const bool held = codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF);
    return static_cast<uint8_t>(held ? codePoint : kSubstitute);
}

size_t utf8_decode_char(std::span<const uint8_t> bytes, uint32_t& codePoint)
{
    std::string_view rest(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!TakeUtf8(rest, Utf8Policy::Extended, codePoint) || codePoint == 0)
        return 0;
    return bytes.size() - rest.size();
}

size_t utf16_decode_char(std::u16string_view units, uint32_t& codePoint)
{
    std::u16string_view rest = units;
    codePoint = rest.empty() ? 0 : TakeUtf16(rest);
    return codePoint == 0 ? 0 : units.size() - rest.size();
}

size_t utf8_encode_char(uint32_t codePoint, char* out)
{
    return EncodeUtf8(codePoint, out);
}

size_t utf16_encode_char(uint32_t codePoint, char16_t* out)
{
    if (codePoint >= 0x100000)
        codePoint = kSubstitute;
    const size_t length = codePoint < 0x10000 ? 1 : 2;
    if (out == nullptr)
        return length;
    if (length == 1) {
        out[0] = static_cast<char16_t>(codePoint);
    } else {
        out[0] = HighSurrogateOf(codePoint);
        out[1] = LowSurrogateOf(codePoint);
    }
    return length;
}

size_t utf16_char_len(uint32_t codePoint)
{
    return utf16_encode_char(codePoint, nullptr);
}

uint32_t decodeCP(CodePage codePage, std::span<const uint8_t> bytes, size_t& position)
{
    if (position >= bytes.size() || bytes[position] == 0)
        return 0;
    uint32_t codePoint = 0;
    switch (codePage) {
    case CodePage::Windows1252:
        return charImport1252(bytes[position++]);
    case CodePage::Ascii:
        return charImportASCII(bytes[position++]);
    case CodePage::Iso8859_1:
        return charImportISO(bytes[position++]);
    case CodePage::Utf8:
        position += utf8_decode_char(bytes.subspan(position), codePoint);
        return codePoint;
    }
    return 0;
}

size_t encodeCP(CodePage codePage, uint32_t codePoint, char* out)
{
    uint8_t byte = 0;
    switch (codePage) {
    case CodePage::Windows1252:
        byte = charExport1252(codePoint);
        break;
    case CodePage::Ascii:
        byte = charExportASCII(codePoint);
        break;
    case CodePage::Iso8859_1:
        byte = charExportISO(codePoint);
        break;
    case CodePage::Utf8:
        return utf8_encode_char(codePoint, out);
    }
    if (out != nullptr)
        *out = static_cast<char>(byte);
    return 1;
}

size_t estimate_codepage_to_wide(CodePage codePage, std::span<const uint8_t> bytes)
{
    size_t count = 1;
    size_t position = 0;
    while (const uint32_t codePoint = decodeCP(codePage, bytes, position))
        count += utf16_char_len(codePoint);
    return count;
}

void convert_codepage_to_wide(CodePage codePage, std::span<const uint8_t> bytes, char16_t* out)
{
    size_t position = 0;
    while (const uint32_t codePoint = decodeCP(codePage, bytes, position))
        out += utf16_encode_char(codePoint, out);
    *out = 0;
}

std::u16string codepageToWide(CodePage codePage, std::span<const uint8_t> bytes)
{
    std::u16string wide(estimate_codepage_to_wide(codePage, bytes), u'\0');
    convert_codepage_to_wide(codePage, bytes, wide.data());
    wide.pop_back();
    return wide;
}

size_t estimate_wide_to_codepage(CodePage codePage, std::u16string_view units)
{
    size_t count = 1;
    uint32_t codePoint = 0;
    while (const size_t taken = utf16_decode_char(units, codePoint)) {
        count += encodeCP(codePage, codePoint, nullptr);
        units.remove_prefix(taken);
    }
    return count;
}

void convert_wide_to_codepage(CodePage codePage, std::u16string_view units, char* out)
{
    uint32_t codePoint = 0;
    while (const size_t taken = utf16_decode_char(units, codePoint)) {
        out += encodeCP(codePage, codePoint, out);
        units.remove_prefix(taken);
    }
    *out = 0;
}

std::string wideToCodepage(CodePage codePage, std::u16string_view units)
{
    std::string bytes(estimate_wide_to_codepage(codePage, units), '\0');
    convert_wide_to_codepage(codePage, units, bytes.data());
    bytes.pop_back();
    return bytes;
}

bool IsPlainAscii(std::span<const uint8_t> bytes)
{
    return std::ranges::all_of(bytes, [](uint8_t byte) { return byte - 1u < 0x7F; });
}

bool isValidUTF8(std::span<const uint8_t> bytes)
{
    if (IsPlainAscii(bytes))
        return true;
    const std::string back = wideToCodepage(CodePage::Utf8, codepageToWide(CodePage::Utf8, bytes));
    return std::ranges::equal(BytesOf(back), bytes);
}

std::wstring Utf8ToText(std::string_view utf8)
{
    std::wstring text;
    text.reserve(utf8.size());
    ForEachCharacter(utf8, [&](uint32_t c) { text += static_cast<wchar_t>(c); });
    return text;
}

std::string TextToUtf8(std::wstring_view text)
{
    text = text.substr(0, text.find(L'\0'));
    std::string utf8;
    utf8.reserve(text.size());
    while (!text.empty()) {
        const uint32_t codePoint = TakeUtf16(text);
        AppendUtf8(utf8, codePoint > 0x10FFFF ? kSubstitute : codePoint);
    }
    return utf8;
}

} // namespace aiff::id3parser::conv
