#include "TagBuilder.h"
#include "tags/id3parser/CodePages.h"
#include "tags/id3parser/FrameToMeta.h"
#include "tags/id3parser/TextEncodings.h"

#include <gtest/gtest.h>

using id3parser::parseError;
using id3parser::t_frame;
using namespace id3parser::conv;

namespace
{

t_frame Frame(const char (&id)[5], std::string_view body)
{
    t_frame frame(id3parser::FrameId(id));
    frame.data.set_data_fromptr(body.data(), body.size());
    return frame;
}

template <class Get>
std::string Outcome(Get get)
{
    try {
        return get();
    } catch (const parseError&) {
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

std::string CountOf(const t_frame& frame)
{
    return Outcome([&] { return std::to_string(frame.GetStringCount()); });
}

struct TextCase {
    const char* name;
    t_frame frame;
    size_t index;
    std::string count, lenient, strict;
};

const std::string kEuro = "\xE2\x82\xAC", kGrin = "\xF0\x9F\x98\x80";

const TextCase kTexts[] = {
    {"no body", Frame("TIT2", ""), 0, "throws", "throws", "throws"},
    {"no text", Frame("TIT2", "\3"), 0, "0", "", ""},
    {"unknown encoding", Frame("TIT2", "\4a"), 0, "throws", "throws", "throws"},
    {"ISO", Frame("TIT2", "\0a"s), 0, "1", "a", "a"},
    {"ISO terminated", Frame("TIT2", "\0a\0"s), 0, "1", "a", "a"},
    {"ISO euro", Frame("TIT2", "\0\x80"s), 0, "1", kEuro, "throws"},
    {"ISO unassigned", Frame("TIT2", "\0\x81"s), 0, "1", "?", "throws"},
    {"second string", Frame("TXXX", "\0a\0b"s), 1, "2", "b", "b"},
    {"double zero counts and separates", Frame("TXXX", "\0a\0\0b"s), 1, "3", "b", "b"},
    {"beyond the last string", Frame("TXXX", "\0a\0\0b"s), 2, "3", "", ""},
    {"two zeros", Frame("TXXX", "\0\0\0"s), 0, "2", "", ""},
    {"1024 strings", Frame("TXXX", std::string(1025, '\0')), 0, "1024", "", ""},
    {"1025 strings", Frame("TXXX", std::string(1026, '\0')), 0, "throws", "", ""},
    {"UTF-16 little-endian",
     Frame("TIT2", "\1\xFF\xFE"
                   "A\0"s),
     0, "1", "A", "A"},
    {"UTF-16 big-endian", Frame("TIT2", "\1\xFE\xFF\0A"s), 0, "1", "A", "A"},
    {"UTF-16 without mark", Frame("TIT2", "\1A\0"s), 0, "1", "A", "throws"},
    {"UTF-16 odd byte",
     Frame("TIT2", "\1\xFF\xFE"
                   "A\0B"s),
     0, "1", "A", "A"},
    {"UTF-16 second string", Frame("TXXX", "\1"s + Utf16(u"a") + Utf16(u"b")), 1, "2", "b", "b"},
    {"UTF-16 pair", Frame("TIT2", "\1"s + Utf16(u"\U0001F600")), 0, "1", kGrin, kGrin},
    {"UTF-16 lone surrogate", Frame("TIT2", "\1\xFF\xFE\0\xD8"s), 0, "1", "\xED\xA0\x80",
     "\xED\xA0\x80"},
    {"UTF-16BE", Frame("TIT2", "\2\0A\0\0"s), 0, "1", "A", "A"},
    {"UTF-8", Frame("TIT2", "\3" + kEuro), 0, "1", kEuro, kEuro},
    {"UTF-8 beyond the first plane", Frame("TIT2", "\3" + kGrin), 0, "1", kGrin, kGrin},
    {"UTF-8 invalid", Frame("TIT2", "\3\xC3("), 0, "1", "\xC3\x83(", "throws"},
    {"UTF-8 plane 16", Frame("TIT2", "\3\xF4\x8F\xBF\xBF"), 0, "1", "\xC3\xB4?\xC2\xBF\xC2\xBF",
     "throws"},
    {"COMM without language", Frame("COMM", "\0en"s), 0, "throws", "throws", "throws"},
    {"COMM descriptor", Frame("COMM", "\0engd\0t"s), 0, "2", "d", "d"},
    {"COMM text", Frame("COMM", "\0eng\0t"s), 1, "2", "t", "t"}};

TEST(TextEncodings, StringsOfABody)
{
    for (const TextCase& c : kTexts) {
        EXPECT_EQ(CountOf(c.frame), c.count) << c.name;
        EXPECT_EQ(StringOf(c.frame, c.index, false), c.lenient) << c.name;
        EXPECT_EQ(StringOf(c.frame, c.index, true), c.strict) << c.name;
    }
}

TEST(TextEncodings, AWalkGivesTheSameStringsForwardsAndBackwards)
{
    for (const t_frame& frame : {Frame("TXXX", "\0a\0\0b\0c"s),
                                 Frame("TXXX", "\1"s + Utf16(u"a") + Utf16(u"b") + Utf16(u"c"))}) {
        id3parser::t_frameWalk walk;
        for (const size_t index : {0u, 1u, 2u, 1u, 0u, 2u, 3u}) {
            std::string text;
            frame.EnumString(false, text, index, walk);
            EXPECT_EQ(text, StringOf(frame, index, false)) << index;
        }
    }
}

TEST(TextEncodings, Urls)
{
    const auto url = [](const t_frame& frame) {
        return Outcome([&] {
            std::string out = "+";
            frame.GetAsURL(out);
            return out;
        });
    };
    const auto user = [](std::string_view body) {
        return Outcome([&] {
            std::string out = "+";
            Frame("WXXX", body).GetAsWXXX(false, out);
            return out;
        });
    };
    EXPECT_EQ(url(Frame("WOAR", "ab\x80\xE9")), "+ab?\xC3\xA9");
    EXPECT_EQ(url(Frame("WOAR", "")), "throws");
    EXPECT_EQ(user("\0d\0u\x80"s), "u?");
    EXPECT_EQ(user("\3\0u"s), "u");
    EXPECT_EQ(user("\1"s + Utf16(u"d") + "u"), "u");
    EXPECT_EQ(user("\1\xFF\xFE"
                   "d\0\0"s),
              "throws"); // half a terminator
    EXPECT_EQ(user("\0d"s), "throws");
    EXPECT_EQ(user("\4\0u"s), "throws");
    EXPECT_EQ(user(""), "throws");
}

struct PictureCase {
    const char* name;
    std::string body, type, data, description;
};

TEST(TextEncodings, Pictures)
{
    const PictureCase cases[] = {
        {"plain", "\0image/png\0\3d\0xyz"s, "3", "xyz", "d"},
        {"type out of range", "\0\0\x19\0x"s, "0", "x", ""},
        {"UTF-16",
         "\1\0\4\xFF\xFE"
         "d\0\0\0xy"s,
         "4", "xy", "d"},
        {"no data", "\0image/png\0\3d\0"s, "0", "throws", "d"},
        {"no description", "\0image/png\0\3"s, "0", "throws", ""},
        {"no type", "\0image/png\0"s, "0", "throws", "throws"},
        {"no end of the MIME type", "\0image/png"s, "0", "throws", "throws"},
        {"unknown encoding", "\4\0\3\0x"s, "0", "throws", "throws"},
        {"empty", "", "0", "throws", "throws"}};
    for (const PictureCase& c : cases) {
        const t_frame frame = Frame("APIC", c.body);
        EXPECT_EQ(std::to_string(frame.getPictureType()), c.type) << c.name;
        EXPECT_EQ(Outcome([&] { return frame.getPictureDesc(); }), c.description) << c.name;
        EXPECT_EQ(Outcome([&] {
                      uint8_t type = 0;
                      const uint8_t* data = nullptr;
                      size_t size = 0;
                      frame.getPicture(type, data, size);
                      return S({data, size});
                  }),
                  c.data)
            << c.name;
    }
    EXPECT_EQ(Frame("APIC", "\0image/png\0\3d\0x"s).getPictureMime(), "image/png");
}

TEST(CodePages, Utf8SequencesAreDecodedOrRefused)
{
    struct Case {
        std::string bytes;
        size_t taken;
        uint32_t codePoint;
    };
    const Case cases[] = {{"", 0, 0},
                          {"\0"s, 0, 0},
                          {"a", 1, 'a'},
                          {"\xC3\xA9", 2, 0xE9},
                          {"\xC3", 0, 0},
                          {"\xC1\xBF", 0, 0},
                          {"\xE0\x9F\xBF", 0, 0},
                          {"\xE0\xA0\x80", 3, 0x800},
                          {"\xF0\x8F\xBF\xBF", 0, 0},
                          {"\xF0\x90\x80\x80", 4, 0x10000},
                          {"\xF7\xBF\xBF\xBF", 4, 0x1FFFFF},
                          {"\xF8\x87\xBF\xBF\xBF", 0, 0},
                          {"\xF8\x88\x80\x80\x80", 5, 0x200000},
                          {"\xFD\xBF\xBF\xBF\xBF\xBF", 6, 0x7FFFFFFF},
                          {"\xFE\xBF\xBF\xBF\xBF\xBF", 0, 0},
                          {"\x80", 0, 0},
                          {"\xE2\x82(", 0, 0}};
    for (const Case& c : cases) {
        uint32_t codePoint = 99;
        const Bytes bytes = B(c.bytes);
        EXPECT_EQ(utf8_decode_char(bytes, codePoint), c.taken) << c.bytes;
        EXPECT_EQ(codePoint, c.codePoint) << c.bytes;
        char back[6];
        if (c.taken != 0) {
            EXPECT_EQ(std::string_view(back, utf8_encode_char(codePoint, back)), c.bytes);
        }
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
    EXPECT_EQ(codepageToWide(CodePage::Ascii, B("a\xE9")), u"a?");
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
    EXPECT_EQ(TextToUtf8(XStr(L"a\0b", 3)), "a");
}

TEST(Gapless, NumbersOfITunes)
{
    struct Case {
        const char* text;
        bool found;
        uint64_t delay, length;
    };
    const Case cases[] = {
        {" 00000000 00000840 000001C0 0000000000AB5C00 00000000", true, 0x840, 0xAB5C00},
        {"0 x1g 0 fF", true, 0x10, 0xFF},
        {"0 1 2 0", false, 7, 7},
        {"0 1 2", false, 7, 7},
        {"", false, 7, 7},
        {"0 1 0 FFFFFFFFFFFFFFFF", false, 7, 7},
        {"0 0 0 FFFFFFFFFFFFFFFF", true, 0, UINT64_MAX}};
    for (const Case& c : cases) {
        uint64_t delay = 7, length = 7;
        EXPECT_EQ(id3parser::parse_apple_gapless(c.text, delay, length), c.found) << c.text;
        EXPECT_EQ(delay, c.delay) << c.text;
        EXPECT_EQ(length, c.length) << c.text;
    }
    uint64_t delay = 0, length = 0;
    EXPECT_TRUE(extractAppleGapless(Frame("COMM", "\0engiTunSMPB\0 0 1 2 3"s), delay, length));
    EXPECT_FALSE(extractAppleGapless(Frame("COMM", "\0engother\0 0 1 2 3"s), delay, length));
    EXPECT_FALSE(extractAppleGapless(Frame("COMM", "\0en"s), delay, length));
}

} // namespace
