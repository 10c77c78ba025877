#include "support/text/XStr.h"

#include "support/text/CodePage1252.h"

#include <algorithm>
#include <limits>
#include <system_error>

namespace
{

constexpr uint32_t kReplacement = 0xFFFD;

bool IsScalarValue(uint32_t codePoint)
{
    return codePoint <= 0x10FFFF && (codePoint < 0xD800 || codePoint > 0xDFFF);
}

// `codePoint` is a scalar value.
void AppendUtf8(std::string& out, uint32_t codePoint)
{
    const auto append = [&out](uint32_t byte) { out += static_cast<char>(byte); };
    if (codePoint < 0x80) {
        append(codePoint);
    } else if (codePoint < 0x800) {
        append(0xC0 | codePoint >> 6);
        append(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        append(0xE0 | codePoint >> 12);
        append(0x80 | (codePoint >> 6 & 0x3F));
        append(0x80 | (codePoint & 0x3F));
    } else {
        append(0xF0 | codePoint >> 18);
        append(0x80 | (codePoint >> 12 & 0x3F));
        append(0x80 | (codePoint >> 6 & 0x3F));
        append(0x80 | (codePoint & 0x3F));
    }
}

// Takes one character off the front of `bytes`, which is not empty.
uint32_t TakeUtf8(std::string_view& bytes)
{
    const auto lead = static_cast<uint8_t>(bytes[0]);
    const size_t length = lead < 0x80             ? 1
                          : (lead & 0xE0) == 0xC0 ? 2
                          : (lead & 0xF0) == 0xE0 ? 3
                          : (lead & 0xF8) == 0xF0 ? 4
                                                  : 0;
    static constexpr uint32_t kLeast[5] = {0, 0, 0x80, 0x800, 0x10000};
    uint32_t codePoint = length < 2 ? lead : lead & (0x7Fu >> length);
    bool valid = length != 0 && length <= bytes.size();
    for (size_t i = 1; valid && i < length; ++i) {
        const auto byte = static_cast<uint8_t>(bytes[i]);
        valid = (byte & 0xC0) == 0x80;
        codePoint = codePoint << 6 | (byte & 0x3F);
    }
    valid = valid && codePoint >= kLeast[length] && IsScalarValue(codePoint);
    bytes.remove_prefix(valid ? length : 1);
    return valid ? codePoint : kReplacement;
}

wchar_t Fold(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? c + (L'a' - L'A') : c;
}

} // namespace

std::string ToUtf8(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    for (const wchar_t c : text) {
        const auto codePoint = static_cast<uint32_t>(c);
        AppendUtf8(out, IsScalarValue(codePoint) ? codePoint : kReplacement);
    }
    return out;
}

XStr FromUtf8(std::string_view bytes)
{
    XStr out;
    out.reserve(bytes.size());
    while (!bytes.empty())
        out += static_cast<wchar_t>(TakeUtf8(bytes));
    return out;
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

bool EqualNoCase(std::wstring_view a, std::wstring_view b)
{
    return a.size() == b.size() && BeginsNoCase(a, b);
}

bool BeginsNoCase(std::wstring_view text, std::wstring_view prefix)
{
    if (text.size() < prefix.size())
        return false;
    for (size_t i = 0; i < prefix.size(); ++i)
        if (Fold(text[i]) != Fold(prefix[i]))
            return false;
    return true;
}

XStr FoldCase(std::wstring_view text)
{
    XStr out(text);
    for (wchar_t& c : out)
        c = Fold(c);
    return out;
}

std::wstring_view Trim(std::wstring_view text)
{
    constexpr std::wstring_view kBlanks = L" \t\r\n";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::wstring_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

int LeadingInteger(std::wstring_view text)
{
    text = text.substr(std::min(text.find_first_not_of(L" \t\r\n"), text.size()));
    const bool negative = !text.empty() && text[0] == L'-';
    if (!text.empty() && (text[0] == L'-' || text[0] == L'+'))
        text.remove_prefix(1);
    constexpr int64_t kMost = int64_t{std::numeric_limits<int>::max()} + 1;
    int64_t value = 0;
    for (; !text.empty() && text[0] >= L'0' && text[0] <= L'9'; text.remove_prefix(1))
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
