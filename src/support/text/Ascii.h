// Text of protocols: bytes whose letters, digits and blanks are those of ASCII,
// whatever the process locale.
#pragma once

#include <algorithm>
#include <string_view>

constexpr bool IsAsciiDigit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr char LowerAscii(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

constexpr bool IsAsciiLetter(char c)
{
    return LowerAscii(c) >= 'a' && LowerAscii(c) <= 'z';
}

// The value of a hexadecimal digit; -1 for anything else.
constexpr int HexValue(char c)
{
    if (IsAsciiDigit(c))
        return c - '0';
    const char lower = LowerAscii(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

constexpr bool EqualAsciiNoCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return LowerAscii(x) == LowerAscii(y); });
}

// `text` without the blanks, tabs and carriage returns around it.
constexpr std::string_view TrimAscii(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Takes the part in front of the first `mark` off `text`, the mark too; all of it
// when there is none.
constexpr std::string_view TakeUntil(std::string_view& text, char mark)
{
    const size_t end = text.find(mark);
    const std::string_view part = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    return part;
}
