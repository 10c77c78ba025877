// SPDX-License-Identifier: MIT

// ASCII in protocols, keys and names: letters, digits, blanks and case, whatever the process
// locale, for 8-bit and for wide characters alike.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace aiff
{

template <class Char>
constexpr bool IsAsciiDigit(Char c)
{
    return c >= Char{'0'} && c <= Char{'9'};
}

template <class Char>
constexpr bool IsAsciiUpper(Char c)
{
    return c >= Char{'A'} && c <= Char{'Z'};
}

// The one folding of case: 'A' to 'Z' become 'a' to 'z', all else stays.
template <class Char>
constexpr Char LowerAscii(Char c)
{
    return IsAsciiUpper(c) ? static_cast<Char>(c + ('a' - 'A')) : c;
}

template <class Char>
constexpr Char UpperAscii(Char c)
{
    return c >= Char{'a'} && c <= Char{'z'} ? static_cast<Char>(c - ('a' - 'A')) : c;
}

template <class Char>
constexpr bool IsAsciiLetter(Char c)
{
    return IsAsciiUpper(c) || UpperAscii(c) != c;
}

// The value of a hexadecimal digit; -1 for anything else.
template <class Char>
constexpr int HexValue(Char c)
{
    if (IsAsciiDigit(c))
        return static_cast<int>(c - Char{'0'});
    const Char lower = LowerAscii(c);
    return lower >= Char{'a'} && lower <= Char{'f'} ? static_cast<int>(lower - Char{'a'}) + 10 : -1;
}

// What the overloads below do, for either kind of text.
namespace ascii_detail
{

template <class Char>
constexpr bool EqualNoCase(std::basic_string_view<Char> a, std::basic_string_view<Char> b)
{
    return std::ranges::equal(a, b, {}, LowerAscii<Char>, LowerAscii<Char>);
}

template <class Char>
constexpr std::basic_string_view<Char> Trim(std::basic_string_view<Char> text)
{
    constexpr Char kBlanks[] = {' ', '\t', '\r', '\n', 0};
    const size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
    return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

} // namespace ascii_detail

// Comparison that folds the case of ASCII letters.
constexpr bool EqualNoCase(std::string_view a, std::string_view b)
{
    return ascii_detail::EqualNoCase(a, b);
}
constexpr bool EqualNoCase(std::wstring_view a, std::wstring_view b)
{
    return ascii_detail::EqualNoCase(a, b);
}
constexpr bool BeginsNoCase(std::string_view text, std::string_view prefix)
{
    return EqualNoCase(text.substr(0, prefix.size()), prefix);
}
constexpr bool BeginsNoCase(std::wstring_view text, std::wstring_view prefix)
{
    return EqualNoCase(text.substr(0, prefix.size()), prefix);
}

// `text` with its ASCII letters in lower case: equal for texts that are equal under
// EqualNoCase.
inline std::wstring FoldCase(std::wstring_view text)
{
    std::wstring folded(text);
    std::ranges::transform(folded, folded.begin(), LowerAscii<wchar_t>);
    return folded;
}

// `text` without the blanks, tabs and line ends around it.
constexpr std::string_view Trim(std::string_view text)
{
    return ascii_detail::Trim(text);
}
constexpr std::wstring_view Trim(std::wstring_view text)
{
    return ascii_detail::Trim(text);
}

// Takes the part before the first `mark` off `text`, and the mark with it; all of the
// text when it holds no mark.
constexpr std::string_view TakeUntil(std::string_view& text, char mark)
{
    const size_t end = text.find(mark);
    const std::string_view part = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    return part;
}

} // namespace aiff
