// SPDX-License-Identifier: MIT
#include "host/base/Printable.h"

#include "support/text/Utf8.h"

namespace aiff::host
{

namespace
{

// Control characters, and those that change the direction or the place of the text around them.
bool Steers(uint32_t c)
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || (c >= 0x2028 && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

} // namespace

std::string Printable(std::string_view utf8)
{
    std::string line;
    line.reserve(utf8.size());
    while (!utf8.empty()) {
        uint32_t c = 0;
        if (!TakeUtf8(utf8, Utf8Policy::Strict, c)) {
            utf8.remove_prefix(1);
            c = '?';
        }
        if (c == '\r' || c == '\n')
            line += "; ";
        else
            AppendUtf8(line, Steers(c) ? '?' : c);
    }
    return line;
}

std::string Hexadecimal(std::span<const std::byte> bytes)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::byte byte : bytes) {
        const auto value = std::to_integer<size_t>(byte);
        text += {kDigits[value / 16], kDigits[value % 16]};
    }
    return text;
}

std::string Counted(int64_t count, std::string_view noun)
{
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

} // namespace aiff::host
