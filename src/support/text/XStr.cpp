// SPDX-License-Identifier: MIT
#include "support/text/XStr.h"

#include "support/text/CodePage1252.h"
#include "support/text/Unicode.h"
#include "support/text/Utf8.h"

#include <algorithm>
#include <limits>
#include <system_error>

namespace aiff
{

namespace
{

void AppendScalar(std::string& out, uint32_t codePoint)
{
    AppendUtf8(out, IsScalarValue(codePoint) ? codePoint : kReplacementCharacter);
}

} // namespace

std::string ToUtf8(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    for (const wchar_t c : text)
        AppendScalar(out, static_cast<uint32_t>(c));
    return out;
}

std::string ToUtf8(std::u16string_view units)
{
    std::string out;
    out.reserve(units.size());
    while (!units.empty())
        AppendScalar(out, TakeUtf16(units));
    return out;
}

XStr FromUtf8(std::string_view bytes)
{
    XStr out;
    out.reserve(bytes.size());
    while (!bytes.empty()) {
        uint32_t codePoint = 0;
        if (!TakeUtf8(bytes, Utf8Policy::Strict, codePoint)) {
            codePoint = kReplacementCharacter;
            bytes.remove_prefix(1);
        }
        out += static_cast<wchar_t>(codePoint);
    }
    return out;
}

XStr FromPathBytes(std::string_view path)
{
    XStr name;
    name.reserve(path.size());
    for (uint32_t codePoint = 0; TakeUtf8(path, Utf8Policy::RawBytes, codePoint);)
        name += static_cast<wchar_t>(codePoint);
    return name;
}

bool ToPathBytes(std::wstring_view name, std::string& path)
{
    path.clear();
    for (const wchar_t c : name) {
        const auto codePoint = static_cast<uint32_t>(c);
        if (codePoint >= 0xDC80 && codePoint <= 0xDCFF)
            path += static_cast<char>(codePoint & 0xFF);
        else if (IsScalarValue(codePoint))
            AppendUtf8(path, codePoint);
        else
            return false;
    }
    return !path.empty();
}

XStr FromAnsi(std::span<const uint8_t> bytes)
{
    XStr out;
    out.reserve(bytes.size());
    for (const uint8_t byte : bytes)
        out += static_cast<wchar_t>(CodePointOf1252(byte));
    return out;
}

int LeadingInteger(std::wstring_view text)
{
    text = Trim(text);
    const bool negative = !text.empty() && text[0] == L'-';
    if (!text.empty() && (text[0] == L'-' || text[0] == L'+'))
        text.remove_prefix(1);
    constexpr int64_t kMost = int64_t{std::numeric_limits<int>::max()} + 1;
    int64_t value = 0;
    for (; !text.empty() && IsAsciiDigit(text[0]); text.remove_prefix(1))
        value = std::min(value * 10 + (text[0] - L'0'), kMost);
    return static_cast<int>(negative ? -value : std::min(value, kMost - 1));
}

XStr SystemText(int errorNumber)
{
    return FromUtf8(std::generic_category().message(errorNumber));
}

XStr SizeText(int64_t bytes)
{
    if (bytes < 1024)
        return std::to_wstring(bytes) + (bytes == 1 ? L" byte" : L" bytes");
    static constexpr const wchar_t* kUnits[] = {L" KB", L" MB", L" GB", L" TB", L" PB", L" EB"};
    size_t unit = 0;
    double scaled = static_cast<double>(bytes) / 1024;
    for (; scaled >= 1023.95; ++unit) // what would be printed as 1024.0
        scaled /= 1024;
    // Tenths as an integer: printf would follow the locale of the host.
    const auto tenths = static_cast<int64_t>(scaled * 10 + 0.5);
    return std::to_wstring(tenths / 10) + L"." + std::to_wstring(tenths % 10) + kUnits[unit];
}

} // namespace aiff
