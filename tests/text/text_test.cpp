// The text layer: UTF-8 under each policy, surrogates, case, digits, names of files.

#include "support/text/Unicode.h"
#include "support/text/Utf8.h"
#include "support/text/XStr.h"

#include <gtest/gtest.h>

#include <climits>

using namespace aiff;

namespace
{

using namespace std::string_literals;

constexpr uint32_t kNone = 0xFFFFFFFF;

// What is read at the front of `bytes`, "taken" being the bytes it took.
uint32_t FirstOf(std::string_view bytes, Utf8Policy policy, size_t& taken)
{
    std::string_view rest = bytes;
    uint32_t codePoint = kNone;
    const bool found = TakeUtf8(rest, policy, codePoint);
    taken = bytes.size() - rest.size();
    EXPECT_TRUE(found || (codePoint == 0 && taken == 0)) << bytes;
    return found ? codePoint : kNone;
}

TEST(Utf8, EachPolicyTakesItsSequences)
{
    struct Row {
        std::string bytes;
        uint32_t strict, extended;
    };
    const Row rows[] = {
        {"\0"s, 0, 0},
        {"\x7F", 0x7F, 0x7F},
        {"\x80", kNone, kNone}, // no lead byte
        {"\xBF", kNone, kNone},
        {"\xC0\x80", kNone, kNone}, // longer than need be
        {"\xC1\xBF", kNone, kNone},
        {"\xC2\x80", 0x80, 0x80},
        {"\xDF\xBF", 0x7FF, 0x7FF},
        {"\xE0\x9F\xBF", kNone, kNone},
        {"\xE0\xA0\x80", 0x800, 0x800},
        {"\xE2\x82", kNone, kNone},  // cut short
        {"\xE2(\xAC", kNone, kNone}, // not a continuation
        {"\xE2\x82(", kNone, kNone},
        {"\xE2\x82\xC2", kNone, kNone},
        {"\xED\x9F\xBF", 0xD7FF, 0xD7FF},
        {"\xED\xA0\x80", kNone, 0xD800}, // surrogates
        {"\xED\xBF\xBF", kNone, 0xDFFF},
        {"\xEE\x80\x80", 0xE000, 0xE000},
        {"\xEF\xBF\xBF", 0xFFFF, 0xFFFF},
        {"\xF0\x8F\xBF\xBF", kNone, kNone},
        {"\xF0\x90\x80\x80", 0x10000, 0x10000},
        {"\xF4\x8F\xBF\xBF", 0x10FFFF, 0x10FFFF},
        {"\xF4\x90\x80\x80", kNone, 0x110000},
        {"\xF7\xBF\xBF\xBF", kNone, 0x1FFFFF},
        {"\xF8\x87\xBF\xBF\xBF", kNone, kNone},
        {"\xF8\x88\x80\x80\x80", kNone, 0x200000},
        {"\xFC\x83\xBF\xBF\xBF\xBF", kNone, kNone},
        {"\xFC\x84\x80\x80\x80\x80", kNone, 0x4000000},
        {"\xFD\xBF\xBF\xBF\xBF\xBF", kNone, 0x7FFFFFFF},
        {"\xFE\xBF\xBF\xBF\xBF\xBF\xBF", kNone, kNone},
        {"\xFF", kNone, kNone},
    };
    for (const auto& [bytes, strict, extended] : rows) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        size_t taken = 0;
        EXPECT_EQ(FirstOf(bytes + "x", Utf8Policy::Strict, taken), strict);
        EXPECT_EQ(taken, strict == kNone ? 0 : bytes.size());
        EXPECT_EQ(FirstOf(bytes + "x", Utf8Policy::Extended, taken), extended);
        EXPECT_EQ(taken, extended == kNone ? 0 : bytes.size());
        const uint32_t raw = 0xDC00u + static_cast<uint8_t>(bytes[0]);
        EXPECT_EQ(FirstOf(bytes + "x", Utf8Policy::RawBytes, taken),
                  strict == kNone ? raw : strict);
        EXPECT_EQ(taken, strict == kNone ? 1 : bytes.size());
        for (size_t cut = 1; cut < bytes.size(); ++cut)
            EXPECT_EQ(FirstOf(bytes.substr(0, cut), Utf8Policy::Extended, taken), kNone);
        if (extended == kNone)
            continue;
        std::string written;
        AppendUtf8(written, extended);
        EXPECT_EQ(written, bytes);
        EXPECT_EQ(EncodeUtf8(extended, nullptr), bytes.size());
    }
    size_t taken = 0;
    for (const auto policy : {Utf8Policy::Strict, Utf8Policy::Extended, Utf8Policy::RawBytes})
        EXPECT_EQ(FirstOf("", policy, taken), kNone);
    EXPECT_EQ(EncodeUtf8(0x80000000, nullptr), 0u);
}

TEST(Utf8, EveryCharacterComesBackAndNothingElseDoes)
{
    for (uint32_t codePoint = 0; codePoint <= 0x110000; ++codePoint) {
        std::string bytes;
        AppendUtf8(bytes, codePoint);
        const bool isCharacter = codePoint < 0xD800 || (codePoint > 0xDFFF && codePoint < 0x110000);
        ASSERT_EQ(IsScalarValue(codePoint), isCharacter) << codePoint;
        size_t taken = 0;
        ASSERT_EQ(FirstOf(bytes, Utf8Policy::Strict, taken), isCharacter ? codePoint : kNone);
        const XStr text(1, static_cast<wchar_t>(codePoint));
        ASSERT_EQ(ToUtf8(text), isCharacter ? bytes : "\xEF\xBF\xBD") << codePoint;
    }
    EXPECT_EQ(FromUtf8("a\xE2\x82(\xF0\x9F\x98\x80"), L"a\uFFFD\uFFFD(\U0001F600");
}

TEST(Utf16, PairsAreJoinedAndLoneSurrogatesPass)
{
    const std::tuple<std::u16string, uint32_t, size_t, std::string> rows[] = {
        {u"ab", 'a', 1, "ab"},
        {{0xD83D, 0xDE00}, 0x1F600, 2, "\xF0\x9F\x98\x80"},
        {{0xD800, 0xDC00}, 0x10000, 2, "\xF0\x90\x80\x80"},
        {{0xDBFF, 0xDFFF}, 0x10FFFF, 2, "\xF4\x8F\xBF\xBF"},
        {{0xD83D}, 0xD83D, 1, "\xEF\xBF\xBD"},
        {{0xD83D, 'a'}, 0xD83D, 1, "\xEF\xBF\xBD"s + "a"},
        {{0xDE00, 0xD83D}, 0xDE00, 1, "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {{0xD83D, 0xD83D, 0xDE00}, 0xD83D, 1, "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
    };
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
    for (int first = 0; first < 256; ++first)
        for (int second = 0; second < 256; ++second)
            for (const char* after : {"", "\x82\xAC", "\xAC"}) {
                const std::string name = std::string{static_cast<char>(first)} +
                                         std::string{static_cast<char>(second)} + after;
                std::string back;
                ASSERT_TRUE(ToPathBytes(FromPathBytes(name), back)) << name;
                ASSERT_EQ(back, name);
            }
    EXPECT_EQ(FromPathBytes("\xC3\xA9\xE9."), L"\u00E9\xDCE9.");
    for (const uint32_t refused : {0xD800u, 0xDC7Fu, 0xDD00u, 0x110000u}) {
        std::string back;
        EXPECT_FALSE(ToPathBytes(L"a" + XStr(1, static_cast<wchar_t>(refused)), back)) << refused;
        EXPECT_FALSE(ToPathBytes(L"", back));
    }
}

// The class of a character by the tables of the test, whatever its type.
template <class Char>
void ExpectClassOf(Char c, uint32_t number)
{
    static const std::string kUpper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    static const std::string kLower = "abcdefghijklmnopqrstuvwxyz", kDigits = "0123456789";
    const char byte = static_cast<char>(number < 0x80 ? number : 0x80);
    const size_t upper = kUpper.find(byte), lower = kLower.find(byte), digit = kDigits.find(byte);
    constexpr size_t kNot = std::string::npos;
    EXPECT_EQ(IsAsciiUpper(c), upper != kNot) << number;
    EXPECT_EQ(IsAsciiLetter(c), upper != kNot || lower != kNot) << number;
    EXPECT_EQ(LowerAscii(c), upper != kNot ? static_cast<Char>(kLower[upper]) : c) << number;
    EXPECT_EQ(UpperAscii(c), lower != kNot ? static_cast<Char>(kUpper[lower]) : c) << number;
    EXPECT_EQ(IsAsciiDigit(c), digit != kNot) << number;
    const size_t letter = std::min(upper, lower);
    const int hex = digit != kNot ? static_cast<int>(digit)
                    : letter < 6  ? static_cast<int>(10 + letter)
                                  : -1;
    EXPECT_EQ(HexValue(c), hex) << number;
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
    const std::tuple<std::string, std::string, bool, bool> rows[] = {
        {"", "", true, true},
        {"Title", "tITLE", true, true},
        {"titles", "TITLE", false, true},
        {"titl", "title", false, false},
        {"a\0b"s, "A\0B"s, true, true},
        {"a\0b"s, "A\0C"s, false, false},
        {"@[`{", "`{@[", false, false}, // beside the letters
        {"\xC3\x89", "\xC3\xA9", false, false},
    };
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
    for (const auto& [text, trimmed] : {std::pair(""s, ""s),
                                        {" \t\r\n", ""},
                                        {"a", "a"},
                                        {" a b\r\n", "a b"},
                                        {"\v a", "\v a"}}) {
        EXPECT_EQ(Trim(text), trimmed);
        EXPECT_EQ(Trim(FromUtf8(text)), FromUtf8(trimmed));
    }
    std::string_view list = "a,,b";
    for (const char* part : {"a", "", "b", ""})
        EXPECT_EQ(TakeUntil(list, ','), part);
}

TEST(Texts, LeadingIntegersSaturate)
{
    const std::pair<const wchar_t*, int> rows[] = {{L"", 0},
                                                   {L"x1", 0},
                                                   {L" \t12/3", 12},
                                                   {L"-7", -7},
                                                   {L"+ 7", 0},
                                                   {L"007", 7},
                                                   {L"2147483648", INT_MAX},
                                                   {L"99999999999999999999", INT_MAX},
                                                   {L"-2147483648", INT_MIN},
                                                   {L"-99999999999", INT_MIN}};
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
