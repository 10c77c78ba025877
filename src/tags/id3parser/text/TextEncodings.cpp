// SPDX-License-Identifier: MIT
#include "tags/id3parser/text/TextEncodings.h"

#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/text/CodePages.h"

#include <algorithm>
#include <bit>

namespace aiff::id3parser
{

using conv::CodePage;

namespace
{

template <class Units>
size_t CountStrings(const Units& units)
{
    size_t count = 0;
    bool pending = false;
    for (size_t i = 0; i < units.size(); ++i) {
        pending = units[i] != 0;
        if (!pending && ++count > kMostStrings)
            throw parseError();
    }
    return count + (pending ? 1 : 0);
}

template <class Units>
size_t SkipStrings(const Units& units, size_t index, t_frameWalk& walk)
{
    if (walk.index > index)
        walk = {};
    while (walk.index < index && walk.position < units.size()) {
        if (units[walk.position++] != 0)
            continue;
        ++walk.index;
        while (walk.position < units.size() && units[walk.position] == 0)
            ++walk.position;
    }
    return walk.position;
}

template <class Units>
size_t LengthToZero(const Units& units)
{
    size_t length = 0;
    while (length < units.size() && units[length] != 0)
        ++length;
    return length;
}

// From a code page of single bytes: its characters are the same in UTF-16 as alone.
std::string ImportCodePage(CodePage codePage, std::span<const uint8_t> bytes)
{
    size_t size = 0;
    size_t position = 0;
    while (const uint32_t codePoint = conv::decodeCP(codePage, bytes, position))
        size += conv::utf8_encode_char(codePoint, nullptr);
    std::string text(size, '\0');
    size = position = 0;
    while (const uint32_t codePoint = conv::decodeCP(codePage, bytes, position))
        size += conv::utf8_encode_char(codePoint, text.data() + size);
    return text;
}

// The units up to the first zero.
std::u16string FirstString(std::span<const uint8_t> bytes)
{
    std::u16string units(myStrLen(UnitView(bytes)), u'\0');
    if (!units.empty())
        std::memcpy(units.data(), bytes.data(), units.size() * 2);
    return units;
}

std::string ImportMarkedWide(std::span<const uint8_t> bytes, bool strict)
{
    const std::u16string units = FirstString(bytes);
    const char16_t mark = units.empty() ? u'\0' : units[0];
    const bool marked = mark == kByteOrderMark || mark == byteSwap(kByteOrderMark);
    if (!marked && strict)
        throw parseError();
    const bool swapped = marked ? mark != kByteOrderMark : !areWeLittleEndian();
    const auto text = std::u16string_view(units).substr(marked ? 1 : 0);
    return swapped ? importWideSwapped(text) : importWide(text);
}

std::string ImportBigEndianWide(std::span<const uint8_t> bytes)
{
    const std::u16string text = FirstString(bytes);
    return areWeLittleEndian() ? importWideSwapped(text) : importWide(text);
}

} // namespace

size_t UnitSize(uint8_t encoding)
{
    if (encoding > kEncodingUTF8)
        throw parseError();
    return encoding == kEncodingUTF16 || encoding == kEncodingUTF16BE ? 2 : 1;
}

bool areWeLittleEndian()
{
    return std::endian::native == std::endian::little;
}

char16_t byteSwap(char16_t unit)
{
    return static_cast<char16_t>(unit << 8 | unit >> 8);
}

size_t myStrLen(std::span<const uint8_t> bytes)
{
    return LengthToZero(bytes);
}

size_t myStrLen(UnitView units)
{
    return LengthToZero(units);
}

size_t GetStringCount_Helper(std::span<const uint8_t> bytes)
{
    return CountStrings(bytes);
}

size_t GetStringCount_Helper(UnitView units)
{
    return CountStrings(units);
}

size_t skipToIndex(std::span<const uint8_t> bytes, size_t index, t_frameWalk& walk)
{
    return SkipStrings(bytes, index, walk);
}

size_t skipToIndex(UnitView units, size_t index, t_frameWalk& walk)
{
    return SkipStrings(units, index, walk);
}

void importString(std::string& out, uint8_t encoding, std::span<const uint8_t> bytes, bool strict)
{
    switch (encoding) {
    case kEncodingISO:
        bytes = bytes.first(myStrLen(bytes));
        if (strict)
            strict_mode_validate_ascii(bytes);
        out = importISO(bytes);
        return;
    case kEncodingUTF16:
        out = ImportMarkedWide(bytes, strict);
        return;
    case kEncodingUTF16BE:
        out = ImportBigEndianWide(bytes);
        return;
    case kEncodingUTF8:
        out = importUTF8(strict, bytes.first(myStrLen(bytes)));
        return;
    default:
        throw parseError();
    }
}

std::string importISO(std::span<const uint8_t> bytes)
{
    return ImportCodePage(CodePage::Windows1252, bytes);
}

std::string importURL(std::span<const uint8_t> bytes)
{
    return ImportCodePage(CodePage::Iso8859_1, bytes);
}

std::string importUTF8(bool strict, std::span<const uint8_t> bytes)
{
    if (conv::isValidUTF8(bytes))
        return {bytes.begin(), bytes.end()};
    if (strict)
        throw parseError();
    return importISO(bytes);
}

std::string importWide(std::u16string_view units)
{
    return conv::wideToCodepage(CodePage::Utf8, units);
}

std::string importWideSwapped(std::u16string_view units)
{
    std::u16string swapped(units);
    std::ranges::transform(swapped, swapped.begin(), byteSwap);
    return importWide(swapped);
}

std::string exportISO(std::string_view utf8)
{
    return conv::wideToCodepage(CodePage::Windows1252, exportWide(utf8));
}

std::string exportURL(std::string_view utf8)
{
    return conv::wideToCodepage(CodePage::Iso8859_1, exportWide(utf8));
}

std::u16string exportWide(std::string_view utf8)
{
    return conv::codepageToWide(CodePage::Utf8,
                                {reinterpret_cast<const uint8_t*>(utf8.data()), utf8.size()});
}

void strict_mode_validate_ascii(std::span<const uint8_t> bytes)
{
    if (std::ranges::any_of(bytes, [](uint8_t byte) { return byte >= 0x80; }))
        throw parseError();
}

} // namespace aiff::id3parser
