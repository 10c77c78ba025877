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
    if (conv::IsPlainAscii(bytes))
        return {bytes.begin(), bytes.end()};
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

// Calls take(start, size) for each piece of the units, with the separator that ends it.
template <class Units, class Take>
void ForEachPiece(const Units& units, char16_t separator, Take take)
{
    size_t start = 0;
    for (size_t i = 0; i < units.size(); ++i) {
        if (units[i] != separator)
            continue;
        take(start, i + 1 - start);
        start = i + 1;
    }
    take(start, units.size() - start);
}

void ImportWidePieces(std::span<const uint8_t> bytes, bool isSwapped, char separator,
                      const TakePiece& take)
{
    const auto ownOrder = static_cast<char16_t>(separator);
    ForEachPiece(UnitView(bytes), isSwapped ? byteSwap(ownOrder) : ownOrder,
                 [&](size_t start, size_t size) {
                     std::u16string piece(size, u'\0');
                     if (size != 0)
                         std::memcpy(piece.data(), &bytes[2 * start], 2 * size);
                     take(isSwapped ? importWideSwapped(piece) : importWide(piece));
                 });
}

void ImportMarkedWide(std::span<const uint8_t> bytes, bool strict, char separator,
                      const TakePiece& take)
{
    const char16_t mark = bytes.empty() ? u'\0' : UnitView(bytes)[0];
    const bool marked = mark == kByteOrderMark || mark == byteSwap(kByteOrderMark);
    if (!marked && strict)
        throw parseError();
    const bool swapped = marked ? mark != kByteOrderMark : !areWeLittleEndian();
    ImportWidePieces(bytes.subspan(marked ? 2 : 0), swapped, separator, take);
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

void importPieces(uint8_t encoding, std::span<const uint8_t> bytes, bool strict, char separator,
                  const TakePiece& take)
{
    const bool isWide = UnitSize(encoding) == 2;
    bytes = bytes.first(isWide ? 2 * myStrLen(UnitView(bytes)) : myStrLen(bytes));
    if (encoding == kEncodingUTF16)
        return ImportMarkedWide(bytes, strict, separator, take);
    if (isWide)
        return ImportWidePieces(bytes, areWeLittleEndian(), separator, take);
    if (strict && encoding == kEncodingISO)
        strict_mode_validate_ascii(bytes);
    const bool isUtf8 = encoding == kEncodingUTF8 && (strict || conv::isValidUTF8(bytes));
    ForEachPiece(bytes, static_cast<uint8_t>(separator), [&](size_t start, size_t size) {
        const auto piece = bytes.subspan(start, size);
        take(isUtf8 ? importUTF8(strict, piece) : importISO(piece));
    });
}

void importString(std::string& out, uint8_t encoding, std::span<const uint8_t> bytes, bool strict)
{
    constexpr char kNone = '\0'; // is in no string
    importPieces(encoding, bytes, strict, kNone,
                 [&out](std::string&& text) { out = std::move(text); });
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
