// SPDX-License-Identifier: MIT

// The text layer: UTF-8 under each policy, surrogates, case, digits, names of files.

#include "support/text/Unicode.h"
#include "support/text/Utf8.h"
#include "support/text/XStr.h"

#include <gtest/gtest.h>

#include <cctype>
#include <climits>

using namespace aiff;

namespace
{

using namespace std::string_literals;

constexpr uint32_t kNone = 0xFFFFFFFF;

// What is read at the front of `bytes`, and how many of them it takes.
std::pair<uint32_t, size_t> FirstOf(std::string_view bytes, Utf8Policy policy)
{
    std::string_view rest = bytes;
    uint32_t codePoint = kNone;
    const bool found = TakeUtf8(rest, policy, codePoint);
    EXPECT_TRUE(found || codePoint == 0) << bytes;
    return {found ? codePoint : kNone, bytes.size() - rest.size()};
}

TEST(Utf8, EachPolicyTakesItsSequences)
{
    using Row = std::tuple<std::string, uint32_t, uint32_t>; // bytes; strict and extended reading
    const Row rows[] = {
        // No lead byte, longer than need be, cut short, another byte than a continuation.
        Row("\x80", kNone, kNone), Row("\xBF", kNone, kNone), Row("\xC0\x80", kNone, kNone),
        Row("\xC1\xBF", kNone, kNone), Row("\xE0\x9F\xBF", kNone, kNone),
        Row("\xF0\x8F\xBF\xBF", kNone, kNone), Row("\xF8\x87\xBF\xBF\xBF", kNone, kNone),
        Row("\xFC\x83\xBF\xBF\xBF\xBF", kNone, kNone), Row("\xE2\x82", kNone, kNone),
        Row("\xE2(\xAC", kNone, kNone), Row("\xE2\x82(", kNone, kNone),
        Row("\xE2\x82\xC2", kNone, kNone), Row("\xFF", kNone, kNone),
        Row("\xFE\xBF\xBF\xBF\xBF\xBF\xBF", kNone, kNone),
        // Surrogates, and what is beyond the last character of Unicode.
        Row("\xED\xA0\x80", kNone, 0xD800), Row("\xED\xBF\xBF", kNone, 0xDFFF),
        Row("\xF4\x90\x80\x80", kNone, 0x110000), Row("\xF7\xBF\xBF\xBF", kNone, 0x1FFFFF),
        Row("\xF8\x88\x80\x80\x80", kNone, 0x200000),
        Row("\xFC\x84\x80\x80\x80\x80", kNone, 0x4000000),
        Row("\xFD\xBF\xBF\xBF\xBF\xBF", kNone, 0x7FFFFFFF)};
    for (const auto& [bytes, strict, extended] : rows) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        // What is read of the bytes and another character, and how many bytes that takes.
        using Taken = std::pair<uint32_t, size_t>;
        const size_t all = bytes.size();
        const uint32_t raw = 0xDC00u + static_cast<uint8_t>(bytes[0]);
        const Taken strictly(strict, strict == kNone ? 0 : all);
        EXPECT_EQ(FirstOf(bytes + "x", Utf8Policy::Strict), strictly);
        EXPECT_EQ(FirstOf(bytes + "x", Utf8Policy::RawBytes),
                  strict == kNone ? Taken(raw, 1) : strictly);
        EXPECT_EQ(FirstOf(bytes + "x", Utf8Policy::Extended),
                  Taken(extended, extended == kNone ? 0 : all));
        for (size_t cut = 0; cut < all; ++cut)
            EXPECT_EQ(FirstOf(std::string_view(bytes).substr(0, cut), Utf8Policy::Extended),
                      Taken(kNone, 0));
        if (extended == kNone)
            continue;
        std::string written;
        AppendUtf8(written, extended);
        EXPECT_EQ(written, bytes);
        EXPECT_EQ(EncodeUtf8(extended, nullptr), all);
    }
    EXPECT_EQ(FirstOf("", Utf8Policy::RawBytes).first, kNone);
    EXPECT_EQ(EncodeUtf8(0x80000000, nullptr), 0u);
}

TEST(Utf8, EveryCharacterComesBackAndNothingElseDoes)
{
    for (uint32_t codePoint = 0; codePoint <= 0x110000; ++codePoint) {
        std::string bytes;
        AppendUtf8(bytes, codePoint);
        const bool isCharacter = codePoint < 0xD800 || (codePoint > 0xDFFF && codePoint < 0x110000);
        ASSERT_EQ(IsScalarValue(codePoint), isCharacter) << codePoint;
        ASSERT_EQ(FirstOf(bytes, Utf8Policy::Strict).first, isCharacter ? codePoint : kNone);
        ASSERT_EQ(FirstOf(bytes, Utf8Policy::Extended), std::pair(codePoint, bytes.size()));
        const XStr text(1, static_cast<wchar_t>(codePoint));
        ASSERT_EQ(ToUtf8(text), isCharacter ? bytes : "\xEF\xBF\xBD") << codePoint;
    }
    EXPECT_EQ(FromUtf8("a\xE2\x82(\xF0\x9F\x98\x80"), L"a\uFFFD\uFFFD(\U0001F600");
}

TEST(Utf16, PairsAreJoinedAndLoneSurrogatesPass)
{
    const std::string grin = "\U0001F600", none = "\uFFFD";
    using Row = std::tuple<std::u16string, uint32_t, size_t, std::string>;
    const Row rows[] = {Row(u"ab", 'a', 1, "ab"), Row({0xD83D, 0xDE00}, 0x1F600, 2, grin),
                        Row({0xD800, 0xDC00}, 0x10000, 2, "\U00010000"),
                        Row({0xDBFF, 0xDFFF}, 0x10FFFF, 2, "\U0010FFFF"),
                        // Lone ones.
                        Row({0xD83D}, 0xD83D, 1, none), Row({0xD83D, 'a'}, 0xD83D, 1, none + "a"),
                        Row({0xDE00, 0xD83D}, 0xDE00, 1, none + none),
                        Row({0xD83D, 0xD83D, 0xDE00}, 0xD83D, 1, none + grin)};
    for (const auto& [units, first, count, utf8] : rows) {
        std::u16string_view rest = units;
        EXPECT_EQ(TakeUtf16(rest), first);
        EXPECT_EQ(units.size() - rest.size(), count) << first;
        EXPECT_EQ(ToUtf8(units), utf8);
        if (count == 2) {
            EXPECT_EQ(units, (std::u16string{HighSurrogateOf(first), LowSurrogateOf(first)}));
        }
    }
}

TEST(PathBytes, EveryNameComesBack)
{
    std::string back;
    for (uint32_t number = 0; number < 0x10000; ++number)
        for (const char* after : {"", "\x82\xAC", "\xAC"}) {
            const char bytes[] = {static_cast<char>(number >> 8), static_cast<char>(number)};
            const std::string name = std::string(bytes, 2) + after;
            ASSERT_TRUE(ToPathBytes(FromPathBytes(name), back)) << name;
            ASSERT_EQ(back, name);
        }
    EXPECT_EQ(FromPathBytes("\xC3\xA9\xE9."), L"\u00E9\xDCE9.");
    for (const wchar_t* refused : {L"", L"a\xD800", L"a\xDC7F", L"a\xDD00", L"a\x110000"})
        EXPECT_FALSE(ToPathBytes(refused, back)) << ToUtf8(std::wstring_view(refused));
}

// The class of a character by what the standard library says of ASCII, whatever its type.
template <class Char>
void ExpectClassOf(Char c, uint32_t number)
{
    const int ascii = number < 0x80 ? static_cast<int>(number) : 0;
    EXPECT_EQ(IsAsciiUpper(c), std::isupper(ascii) != 0) << number;
    EXPECT_EQ(IsAsciiLetter(c), std::isalpha(ascii) != 0) << number;
    EXPECT_EQ(LowerAscii(c), ascii != 0 ? static_cast<Char>(std::tolower(ascii)) : c) << number;
    EXPECT_EQ(UpperAscii(c), ascii != 0 ? static_cast<Char>(std::toupper(ascii)) : c) << number;
    EXPECT_EQ(IsAsciiDigit(c), std::isdigit(ascii) != 0) << number;
    const std::string digit(1, static_cast<char>(ascii));
    EXPECT_EQ(HexValue(c), std::isxdigit(ascii) != 0 ? std::stoi(digit, nullptr, 16) : -1)
        << number;
}

TEST(Ascii, BothCharacterTypesAreClassedAlike)
{
    for (uint32_t number = 0; number < 256; ++number) {
        ExpectClassOf(static_cast<char>(number), number);
        ExpectClassOf(static_cast<wchar_t>(number), number);
    }
    // The low byte is a digit or letter; a full-width digit, the Kelvin sign, a Turkish i.
    for (const uint32_t number : {0x130u, 0x141u, 0x166u, 0x20031u, 0x80000041u, 0xFF11u, 0x212Au})
        ExpectClassOf(static_cast<wchar_t>(number), number);
}

TEST(Ascii, ComparisonsFoldTheCase)
{
    using Row = std::tuple<std::string, std::string, bool, bool>;
    const Row rows[] = {Row("", "", true, true), Row("Title", "tITLE", true, true),
                        Row("titles", "TITLE", false, true), Row("titl", "title", false, false),
                        Row("a\0b"s, "A\0B"s, true, true), Row("a\0b"s, "A\0C"s, false, false),
                        // What is beside the letters, and what is not ASCII.
                        Row("@[`{", "`{@[", false, false), Row("\u00C9", "\u00E9", false, false)};
    for (const auto& [a, b, equal, begins] : rows) {
        const XStr wideA = FromUtf8(a), wideB = FromUtf8(b);
        EXPECT_EQ(EqualNoCase(a, b), equal) << a;
        EXPECT_EQ(EqualNoCase(wideA, wideB), equal) << a;
        EXPECT_EQ(FoldCase(wideA) == FoldCase(wideB), equal) << a;
        EXPECT_EQ(BeginsNoCase(a, b), begins) << a;
        EXPECT_EQ(BeginsNoCase(wideA, wideB), begins) << a;
    }
}

TEST(Ascii, TextIsTrimmedAndTakenApart)
{
    using Row = std::pair<std::string, std::string>;
    for (const auto& [text, trimmed] : {Row("", ""), Row(" \t\r\n", ""), Row("a", "a"),
                                        // A vertical tab is no blank.
                                        Row(" a b\r\n", "a b"), Row("\v a", "\v a")}) {
        EXPECT_EQ(Trim(text), trimmed);
        EXPECT_EQ(Trim(FromUtf8(text)), FromUtf8(trimmed));
    }
    std::string_view list = "a,,b";
    for (const char* part : {"a", "", "b", ""})
        EXPECT_EQ(TakeUntil(list, ','), part);
}

TEST(Texts, LeadingIntegersSaturate)
{
    using Row = std::pair<const wchar_t*, int>;
    const Row rows[] = {Row(L"", 0), Row(L"x1", 0), Row(L" \t12/3", 12), Row(L"-7", -7),
                        Row(L"+ 7", 0), Row(L"007", 7),
                        // The limits of int, and what is beyond them.
                        Row(L"2147483647", INT_MAX), Row(L"2147483648", INT_MAX),
                        Row(L"99999999999999999999", INT_MAX), Row(L"-2147483648", INT_MIN),
                        Row(L"-99999999999", INT_MIN)};
    for (const auto& [text, number] : rows)
        EXPECT_EQ(LeadingInteger(text), number) << ToUtf8(std::wstring_view(text));
}

TEST(Texts, SizesHaveOneDecimal)
{
    const std::pair<int64_t, const wchar_t*> sizes[] = {
        {0, L"0 bytes"},         {1, L"1 byte"},       {1023, L"1023 bytes"},
        {1024, L"1.0 KB"},       {1996, L"1.9 KB"},    {1997, L"2.0 KB"},
        {1048524, L"1023.9 KB"}, {1048525, L"1.0 MB"}, {int64_t{3} << 40, L"3.0 TB"}};
    for (const auto& [bytes, text] : sizes)
        EXPECT_EQ(SizeText(bytes), text);
}

} // namespace
