// SPDX-License-Identifier: MIT
#include "TagBuilder.h"
#include "tags/id3parser/fields/FrameToMeta.h"
#include "tags/id3parser/fields/Gapless.h"
#include "tags/id3parser/frames/FramePicture.h"
#include "tags/id3parser/text/CodePages.h"
#include "tags/id3parser/text/TextEncodings.h"

#include <gtest/gtest.h>

using id3parser::t_frame;
using namespace id3parser::conv;

namespace
{

const std::string kEuro = "\xE2\x82\xAC", kGrin = "\xF0\x9F\x98\x80";

// What a getter gives, or "-".
template <class Get>
std::string Outcome(Get get)
{
    try {
        return get();
    } catch (const id3parser::parseError&) {
        return "-";
    }
}

// The number of strings and the first three, "-" where that throws.
std::string Strings(const std::string& note, bool strict)
{
    const t_frame frame = Frame(note);
    std::string all = Outcome([&] { return std::to_string(frame.GetStringCount()); });
    for (size_t index = 0; index < 3; ++index)
        all += " " + Outcome([&] {
                   std::string text;
                   frame.GetAsString(strict, text, index);
                   return text;
               });
    return all;
}

TEST(TextEncodings, StringsOfABody)
{
    struct R {
        std::string note, lenient, strict = lenient;
    };
    const std::string zeros(1025, '~');
    const R rows[] = {
        // Damage, emptiness, zeros.
        R{"TIT2=", "- - - -"}, R{"TIT2=\4a", "- - - -"}, R{"COMM:en", "- - - -"},
        R{"TIT2=\3", "0   "}, R{"TIT2:a", "1 a  "}, R{"TIT2:a~", "1 a  "}, R{"TXXX:a~b", "2 a b "},
        R{"TXXX:a~~b", "3 a b "}, R{"TIT2=\2~A~~", "1 A  "}, R{"COMM:eng~t", "2  t "},
        R{"COMM:engd~t", "2 d t "}, R{"TXXX:" + zeros.substr(1), "1024   "},
        R{"TXXX:" + zeros, "-   "},
        // Code pages, byte order, an odd byte, a lone surrogate, plane 16.
        R{"TIT2:\x80", "1 \xE2\x82\xAC  ", "1 -  "}, R{"TIT2:\x81", "1 ?  ", "1 -  "},
        R{"TIT2=\3\xC3(", "1 \xC3\x83(  ", "1 -  "}, R{"TXXX^a^b", "2 a b ", "2 a b -"},
        R{"TIT2=\1\xFE\xFF~A", "1 A  ", "1 A - -"}, R{"TIT2=\1A~", "1 A  ", "1 - - -"},
        R{"TIT2=\1\xFF\xFEG~B", "1 G  ", "1 G - -"},
        R{"TIT2=\1\xFF\xFE~\xD8", "1 \xED\xA0\x80  ", "1 \xED\xA0\x80 - -"},
        R{"TIT2=\1" + Utf16(u"\U0001F600"), "1 " + kGrin + "  ", "1 " + kGrin + " - -"},
        R{"TIT2=\3" + kEuro + kGrin, "1 " + kEuro + kGrin + "  "},
        R{"TIT2=\3\xF4\x8F\xBF\xBF", "1 \xC3\xB4?\xC2\xBF\xC2\xBF  ", "1 -  "}};
    for (const auto& [note, lenient, strict] : rows) {
        EXPECT_EQ(Strings(note, false), lenient) << note;
        EXPECT_EQ(Strings(note, true), strict) << note;
    }
}

TEST(TextEncodings, Pictures)
{
    // What the frame tells of its type, its data and its description.
    using Row = std::tuple<std::string, int, std::string, std::string>;
    const Row rows[] = {
        Row("APIC:image/png~\3d~xyz", 3, "xyz", "d"), Row("APIC:~\x14~x", 20, "x", ""),
        // There are 21 types, and 4 encodings.
        Row("APIC:~\x15~x", 0, "x", ""), Row("APIC=\4~\3~x", 0, "-", "-"),
        Row("APIC=\1~\4\xFF\xFEg~~~xy", 4, "xy", "g"), Row("APIC:image/png~\3d~", 0, "-", "d"),
        Row("APIC:image/png~\3", 0, "-", ""), Row("APIC:image/png~", 0, "-", "-"),
        Row("APIC:image/png", 0, "-", "-"), Row("APIC=", 0, "-", "-")};
    for (const auto& [note, type, data, description] : rows) {
        const t_frame frame = Frame(note);
        EXPECT_EQ(frame.getPictureType(), type) << note;
        EXPECT_EQ(Outcome([&] { return frame.getPictureDesc(); }), description) << note;
        const auto bytes = [&frame = frame] {
            uint8_t readType = 0;
            const uint8_t* start = nullptr;
            size_t size = 0;
            frame.getPicture(readType, start, size);
            EXPECT_EQ(readType, frame.getPictureType());
            return S({start, size});
        };
        EXPECT_EQ(Outcome(bytes), data) << note;
    }
    EXPECT_EQ(Frame("APIC:image/png~\3d~x").getPictureMime(), "image/png");
}

TEST(CodePages, ExportWhatTheTargetHoldsAndAQuestionMarkElse)
{
    const std::string text = "a\xC3\xA9" + kEuro + "\xC2\x80" + kGrin;
    EXPECT_EQ(id3parser::exportISO(text), "a\xE9\x80??");
    EXPECT_EQ(id3parser::exportURL(text), "a\xE9???");
    EXPECT_EQ(id3parser::exportWide(text + "\xF4\x80\x80\x80"), u"a\u00E9\u20AC\u0080\U0001F600?");
    EXPECT_EQ(wideToCodepage(CodePage::Ascii, u"a\u00E9"), "a?");
    EXPECT_EQ(codepageToWide(CodePage::Ascii, Text("a\xE9")), u"a?");
    EXPECT_EQ(codepageToWide(CodePage::Utf8, Text("a\xE2\x82(b")), u"a") << "an invalid sequence";
    uint32_t zero = 99;
    EXPECT_EQ(utf8_decode_char(Text("\0a"s), zero) + zero, 0u);
    for (uint32_t byte = 1; byte < 256; ++byte) {
        const uint32_t codePoint = charImport1252(static_cast<uint8_t>(byte));
        EXPECT_EQ(charExport1252(codePoint), codePoint == '?' ? '?' : byte) << byte;
    }
}

TEST(CodePages, TextKeepsSurrogatesAndJoinsPairs)
{
    const std::string last = "\xF4\x8F\xBF\xBF", lone = "\xED\xA0\xBD";
    const std::pair<XStr, std::string> rows[] = {
        {L"a\U0001F600", "a" + kGrin}, {L"\U0010FFFF", last}, {L"\xD83D", lone}};
    for (const auto& [text, utf8] : rows) {
        EXPECT_EQ(TextToUtf8(text), utf8);
        EXPECT_EQ(Utf8ToText(utf8), text);
    }
    EXPECT_EQ(TextToUtf8(L"\xD83D\xDE00\xDBFF\xDFFF"), kGrin + last);
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
        const t_frame frame = Frame("COMM:engiTunSMPB~" + text);
        EXPECT_EQ(extractAppleGapless(frame, delay, length), found) << text;
        EXPECT_EQ(std::pair(delay, length), std::pair(wantedDelay, wantedLength)) << text;
        EXPECT_FALSE(extractAppleGapless(Frame("COMM:engother~" + text), delay, length));
    }
}

} // namespace
