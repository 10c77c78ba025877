#include "TagBuilder.h"
#include "tags/id3parser/fields/FrameToMeta.h"
#include "tags/id3parser/fields/Gapless.h"
#include "tags/id3parser/frames/FramePicture.h"
#include "tags/id3parser/text/CodePages.h"
#include "tags/id3parser/text/TextEncodings.h"

#include <gtest/gtest.h>

using namespace aiff;

using id3parser::t_frame;
using namespace id3parser::conv;

namespace
{

const std::string kEuro = "\xE2\x82\xAC", kGrin = "\xF0\x9F\x98\x80";

// What a getter gives, or "throws".
template <class Get>
std::string Outcome(Get get)
{
    try {
        return get();
    } catch (const id3parser::parseError&) {
        return "throws";
    }
}

std::string StringOf(const t_frame& frame, size_t index, bool strict)
{
    return Outcome([&] {
        std::string text;
        frame.GetAsString(strict, text, index);
        return text;
    });
}

TEST(TextEncodings, StringsOfABody)
{
    // The index of the string, the number of all, and what lenient and strict reading give.
    using Row = std::tuple<std::string, size_t, const char*, std::string, std::string>;
    const Row rows[] = {
        {"TIT2=", 0, "throws", "throws", "throws"},
        {"TIT2=\3", 0, "0", "", ""},
        {"TIT2=\4a", 0, "throws", "throws", "throws"}, // unknown encoding
        {"TIT2:a", 0, "1", "a", "a"},
        {"TIT2:a\0"s, 0, "1", "a", "a"},
        {"TIT2:\x80", 0, "1", kEuro, "throws"},
        {"TIT2:\x81", 0, "1", "?", "throws"}, // unassigned
        {"TXXX:a\0b"s, 1, "2", "b", "b"},
        {"TXXX:a\0\0b"s, 1, "3", "b", "b"}, // the second zero counts and separates
        {"TXXX:a\0\0b"s, 2, "3", "", ""},
        {"TXXX:\0\0"s, 0, "2", "", ""},
        {"TXXX:" + std::string(1024, '\0'), 0, "1024", "", ""},
        {"TXXX:" + std::string(1025, '\0'), 0, "throws", "", ""},
        {"TIT2^A", 0, "1", "A", "A"},
        {"TIT2=\1\xFE\xFF\0A"s, 0, "1", "A", "A"},
        {"TIT2=\1A\0"s, 0, "1", "A", "throws"},           // no mark
        {"TIT2=\1\xFF\xFE"s + "A\0B"s, 0, "1", "A", "A"}, // odd byte
        {"TXXX^a^b", 1, "2", "b", "b"},
        {"TIT2=\1" + Utf16(u"\U0001F600"), 0, "1", kGrin, kGrin},
        {"TIT2=\1\xFF\xFE\0\xD8"s, 0, "1", "\xED\xA0\x80", "\xED\xA0\x80"}, // lone surrogate
        {"TIT2=\2\0A\0\0"s, 0, "1", "A", "A"},
        {"TIT2=\3" + kEuro, 0, "1", kEuro, kEuro},
        {"TIT2=\3" + kGrin, 0, "1", kGrin, kGrin},
        {"TIT2=\3\xC3(", 0, "1", "\xC3\x83(", "throws"},
        {"TIT2=\3\xF4\x8F\xBF\xBF", 0, "1", "\xC3\xB4?\xC2\xBF\xC2\xBF", "throws"}, // plane 16
        {"COMM:en", 0, "throws", "throws", "throws"},                               // no language
        {"COMM:engd\0t"s, 0, "2", "d", "d"},
        {"COMM:eng\0t"s, 1, "2", "t", "t"},
    };
    for (const auto& [note, index, count, lenient, strict] : rows) {
        const t_frame frame = Frame(note);
        EXPECT_EQ(Outcome([&] { return std::to_string(frame.GetStringCount()); }), count) << note;
        EXPECT_EQ(StringOf(frame, index, false), lenient) << note;
        EXPECT_EQ(StringOf(frame, index, true), strict) << note;
    }
}

TEST(TextEncodings, Pictures)
{
    // What the frame tells of its type, its data and its description.
    const std::tuple<std::string, int, std::string, std::string> rows[] = {
        {"APIC:image/png\0\3d\0xyz"s, 3, "xyz", "d"},
        {"APIC:\0\x14\0x"s, 20, "x", ""},
        {"APIC:\0\x15\0x"s, 0, "x", ""}, // no such type
        {"APIC=\1\0\4\xFF\xFE"s + "d\0\0\0xy"s, 4, "xy", "d"},
        {"APIC:image/png\0\3d\0"s, 0, "throws", "d"},
        {"APIC:image/png\0\3"s, 0, "throws", ""},
        {"APIC:image/png\0"s, 0, "throws", "throws"},
        {"APIC:image/png", 0, "throws", "throws"},
        {"APIC=\4\0\3\0x"s, 0, "throws", "throws"}, // unknown encoding
        {"APIC=", 0, "throws", "throws"},
    };
    for (const auto& [note, type, data, description] : rows) {
        const t_frame frame = Frame(note);
        EXPECT_EQ(frame.getPictureType(), type) << note;
        EXPECT_EQ(Outcome([&] { return frame.getPictureDesc(); }), description) << note;
        const auto bytes = [&] { return S(id3parser::extractAPIC(frame.data.view()).data); };
        EXPECT_EQ(Outcome(bytes), data) << note;
    }
    EXPECT_EQ(Frame("APIC:image/png\0\3d\0x"s).getPictureMime(), "image/png");
}

TEST(CodePages, Utf8SequencesAreDecodedOrRefused)
{
    const std::pair<std::string, uint32_t> sound[] = {{"a", 'a'},
                                                      {"\xC3\xA9", 0xE9},
                                                      {"\xE0\xA0\x80", 0x800},
                                                      {"\xF0\x90\x80\x80", 0x10000},
                                                      {"\xFD\xBF\xBF\xBF\xBF\xBF", 0x7FFFFFFF}};
    for (const auto& [bytes, expected] : sound) {
        uint32_t codePoint = 99;
        char back[6];
        EXPECT_EQ(utf8_decode_char(Text(bytes), codePoint), bytes.size());
        EXPECT_EQ(codePoint, expected) << bytes;
        EXPECT_EQ(std::string_view(back, utf8_encode_char(expected, back)), bytes);
    }
    for (const std::string& bytes :
         {""s, "\0"s, "\xC3"s, "\xC1\xBF"s, "\xE0\x9F\xBF"s, "\xF8\x87\xBF\xBF\xBF"s,
          "\xFE\xBF\xBF\xBF\xBF\xBF"s, "\x80"s, "\xE2\x82("s}) {
        uint32_t codePoint = 99;
        EXPECT_EQ(utf8_decode_char(Text(bytes), codePoint), 0u);
        EXPECT_EQ(codePoint, 0u) << bytes;
    }
    EXPECT_EQ(utf8_encode_char(0x80000000, nullptr), 0u);
}

TEST(CodePages, ExportsWhatTheTargetHoldsAndAQuestionMarkElse)
{
    const std::string text = "a\xC3\xA9" + kEuro + "\xC2\x80" + kGrin;
    EXPECT_EQ(id3parser::exportISO(text), "a\xE9\x80??");
    EXPECT_EQ(id3parser::exportURL(text), "a\xE9???");
    EXPECT_EQ(id3parser::exportWide(text + "\xF4\x80\x80\x80"), u"a\u00E9\u20AC\u0080\U0001F600?");
    EXPECT_EQ(wideToCodepage(CodePage::Ascii, u"a\u00E9"), "a?");
    EXPECT_EQ(codepageToWide(CodePage::Ascii, Text("a\xE9")), u"a?");
    for (uint32_t byte = 1; byte < 256; ++byte) {
        const uint32_t codePoint = charImport1252(static_cast<uint8_t>(byte));
        EXPECT_EQ(charExport1252(codePoint), codePoint == '?' ? '?' : byte) << byte;
    }
}

TEST(CodePages, TextKeepsSurrogatesAndJoinsPairs)
{
    EXPECT_EQ(Utf8ToText("a" + kGrin), L"a\U0001F600");
    EXPECT_EQ(TextToUtf8(L"a\U0001F600"), "a" + kGrin);
    const XStr pair = {static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)};
    EXPECT_EQ(TextToUtf8(pair), kGrin);
    EXPECT_EQ(Utf8ToText(TextToUtf8(pair.substr(0, 1))), pair.substr(0, 1));
    const XStr last = {static_cast<wchar_t>(0xDBFF), static_cast<wchar_t>(0xDFFF)};
    EXPECT_EQ(TextToUtf8(last), "\xF4\x8F\xBF\xBF");
    EXPECT_EQ(TextToUtf8(L"\U0010FFFF"), "\xF4\x8F\xBF\xBF");
    EXPECT_EQ(TextToUtf8(XStr(L"a\0b", 3)), "a");
}

TEST(Gapless, NumbersOfITunes)
{
    const std::tuple<std::string, bool, uint64_t, uint64_t> rows[] = {
        {" 00000000 00000840 000001C0 0000000000AB5C00 00000000", true, 0x840, 0xAB5C00},
        {"0 1 2 0", false, 7, 7},
        {"0 1 2", false, 7, 7},
        {"0 1 0 FFFFFFFFFFFFFFFF", false, 7, 7}};
    for (const auto& [text, found, wantedDelay, wantedLength] : rows) {
        uint64_t delay = 7, length = 7;
        const t_frame frame = Frame("COMM:engiTunSMPB\0"s + text);
        EXPECT_EQ(extractAppleGapless(frame, delay, length), found) << text;
        EXPECT_EQ(std::pair(delay, length), std::pair(wantedDelay, wantedLength)) << text;
        EXPECT_FALSE(extractAppleGapless(Frame("COMM:engother\0"s + text), delay, length));
    }
}

} // namespace
