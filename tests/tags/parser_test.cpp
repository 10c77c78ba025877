#include "TagBuilder.h"
#include "tags/id3parser/FrameReader.h"
#include "tags/id3parser/RawFrames.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

using id3parser::parseError;
using id3parser::streamIn;

namespace
{

struct ParseCase {
    const char* name;
    Bytes tag;
    std::string expected;
};

std::string WithFlags(uint8_t status, uint8_t format)
{
    return {static_cast<char>(status), static_cast<char>(format)};
}

const std::string kTitle3 = FrameBytes(3, "TIT2", Text("a"));
const std::string kTitle4 = FrameBytes(4, "TIT2", Text("a"));
const std::string kA = "TIT2="s + Text("a");

const ParseCase kCases[] = {
    {"2.3", TagBuilder(3).Raw(kTitle3).Done(), "3: " + kA},
    {"2.4", TagBuilder(4).Raw(kTitle4).Done(), "4: " + kA},
    {"nine bytes", B("ID3\3\0\0\0\0\0"s), "throws 0:"},
    {"wrong magic", B("ID2\3\0\0\0\0\0\0"s), "throws 0:"},
    {"version 5", TagBuilder(5).Done(), "throws 0:"},
    {"version 1", TagBuilder(1).Done(), "throws 0:"},
    {"size with a top bit", B("ID3\3\0\0\0\0\x80\0"s), "throws 0:"},
    {"2.2 compression flag", TagBuilder(2, 0x40).Done(), "throws 0:"},
    {"2.3 unknown flag", TagBuilder(3, 0x10).Raw(kTitle3).Done(), "throws 0:"},
    {"2.3 experimental", TagBuilder(3, 0x20).Raw(kTitle3).Done(), "3: " + kA},
    {"2.4 unknown flag", TagBuilder(4, 0x08).Done(), "throws 0:"},
    {"2.4 footer, header unsynchronisation", TagBuilder(4, 0x90).Raw(kTitle4).Done(), "4: " + kA},
    {"2.3 extended header", TagBuilder(3, 0x40).Raw("\0\0\0\6abcdef"s + kTitle3).Done(),
     "3: " + kA},
    {"2.3 extended header too long", TagBuilder(3, 0x40).Raw("\0\0\0\6abcde"s).Done(), "throws 0:"},
    {"2.4 extended header", TagBuilder(4, 0x40).Raw("\0\0\0\6ab"s + kTitle4).Done(), "4: " + kA},
    {"2.4 extended header too short", TagBuilder(4, 0x40).Raw("\0\0\0\5a"s + kTitle4).Done(),
     "throws 0:"},
    {"padding ends the frames", TagBuilder(3).Raw(kTitle3 + "\0"s + kTitle3).Done(), "3: " + kA},
    {"header cut by the limit", TagBuilder(3).Raw(kTitle3 + "TI").Done(), "3: " + kA},
    {"frame size cut by the limit", TagBuilder(3).Raw(kTitle3 + "TIT1\0\0"s).Done(),
     "throws 0: " + kA},
    {"body cut by the limit", TagBuilder(3).Raw(kTitle3 + kTitle3).WithSize(23).Done(),
     "throws 0: " + kA},
    {"body beyond the input", TagBuilder(3).Raw("TIT2\0\0\0\3\0\0a"s).WithSize(99).Done(),
     "throws 0:"},
    {"input ends early", TagBuilder(3).Raw(kTitle3).WithSize(99).Done(), "3: " + kA},
    {"frame of 64 MiB", TagBuilder(3).Raw("TIT2\4\0\0\0\0\0a"s).Done(), "throws 0:"},
    {"2.4 frame size with a top bit", TagBuilder(4).Raw("TIT2\0\0\0\x80\0\0a"s).Done(),
     "throws 0:"},
    {"empty frame", TagBuilder(3).Frame("TIT1", "").Raw(kTitle3).Done(), "3: " + kA},
    {"2.2 names", TagBuilder(2).Frame("TT2", Text("a")).Frame("ULT", "x").Done(),
     "2: " + kA + " 0=x"},
    {"2.2 empty frame", TagBuilder(2).Frame("TT1", "").Frame("TT2", Text("a")).Done(), "2: " + kA},
    {"2.2 name in 2.3", TagBuilder(3).Frame("TT2\0"s, Text("a")).Frame("ULT\0"s, "x").Done(),
     "3: " + kA + " 0=x"},
    {"2.2 picture", TagBuilder(2).Frame("PIC", "\0JPG\3\0p"s).Done(),
     "2: APIC=\0image/jpeg\0\3\0p"s},
    {"2.2 picture of unknown format", TagBuilder(2).Frame("PIC", "\1jpg\3p"s).Done(),
     "2: APIC=\1image/x-unknown\0\3p"s},
    {"2.2 picture too short", TagBuilder(2).Frame("PIC", "\0JP"s).Done(), "throws 0:"},
    {"2.2 picture in UTF-8", TagBuilder(2).Frame("PIC", "\3JPG\3\0p"s).Done(), "throws 0:"},
    {"2.3 status flags", TagBuilder(3).Frame("TIT2", Text("a"), WithFlags(0xFF, 0)).Done(),
     "3: " + kA},
    {"2.3 encrypted", TagBuilder(3).Frame("TIT1", "x", WithFlags(0, 0x40)).Raw(kTitle3).Done(),
     "3: " + kA},
    {"2.3 grouped", TagBuilder(3).Frame("TIT1", "x", WithFlags(0, 0x20)).Raw(kTitle3).Done(),
     "3: " + kA},
    {"2.3 compressed",
     TagBuilder(3).Frame("TIT1", "0123456789", WithFlags(0, 0x80)).Raw(kTitle3).Done(), "3: " + kA},
    {"2.3 compressed, too short", TagBuilder(3).Frame("TIT1", "012", WithFlags(0, 0x80)).Done(),
     "throws 0:"},
    {"2.4 read-only", TagBuilder(4).Frame("TIT1", "x", WithFlags(0x10, 0)).Raw(kTitle4).Done(),
     "4: " + kA},
    {"2.4 preserved", TagBuilder(4).Frame("TIT1", "x", WithFlags(0x40, 0)).Raw(kTitle4).Done(),
     "4: " + kA},
    {"2.4 encrypted", TagBuilder(4).Frame("TIT1", "x", WithFlags(0, 0x04)).Raw(kTitle4).Done(),
     "4: " + kA},
    {"2.4 compressed",
     TagBuilder(4).Raw(kTitle4).Frame("TIT1", "0123456789", WithFlags(0, 8)).Done(),
     "throws 0: " + kA},
    {"2.4 data length",
     TagBuilder(4).Frame("TIT2", "\0\0\0\2"s + Text("a"), WithFlags(0, 1)).Done(), "4: " + kA},
    {"2.4 data length, too short", TagBuilder(4).Frame("TIT2", "\0\0\0"s, WithFlags(0, 1)).Done(),
     "throws 0:"},
    {"2.4 unsynchronised",
     TagBuilder(4).Frame("PRIV", "\0\0\0\2\xFF\0\xE1"s, WithFlags(0, 3)).Done(),
     "4: PRIV=\xFF\xE1"},
    {"2.4 unsynchronised, lone FF", TagBuilder(4).Frame("PRIV", "a\xFF", WithFlags(0, 2)).Done(),
     "throws 0:"},
    {"2.4 unsynchronised, cut",
     TagBuilder(4).Frame("PRIV", "abcd", WithFlags(0, 2)).WithSize(12).Done(), "4: PRIV=ab"},
    {"2.3 unsynchronised", TagBuilder(3, 0x80).Raw("PRIV\0\0\0\3\0\0\xFF\0\xE1z"s).Done(),
     "3: PRIV=\xFF\xE1z"},
    {"2.3 unsynchronised, FF and false sync",
     TagBuilder(3, 0x80).Raw("PRIV\0\0\0\2\0\0\xFF\xE1"s).Done(), "throws 0:"},
    {"2.2 unsynchronised", TagBuilder(2, 0x80).Raw("TT2\0\0\2\0\xFF\0"s).Done(),
     "2: TIT2=\0\xFF"s}};

TEST(Parser, ReadsFramesAndRefusesDamage)
{
    for (const ParseCase& c : kCases)
        EXPECT_EQ(Parsed(c.tag), c.expected) << c.name;
}

struct WantNothing : id3parser::parseCallback {
    bool wantFrame(uint32_t) override { return false; }
};

// The caller's choice is asked for all frames, but in ID3v2.2 only for unknown ones.
TEST(Parser, LeavesOutWhatTheCallerDoesNotWant)
{
    EXPECT_EQ(Parsed(TagBuilder(3).Raw(kTitle3).Done(), WantNothing()), "3:");
    EXPECT_EQ(Parsed(TagBuilder(4).Raw(kTitle4).Done(), WantNothing()), "4:");
    EXPECT_EQ(Parsed(TagBuilder(2).Frame("TT2", Text("a")).Frame("ULT", "x").Done(), WantNothing()),
              "2: " + kA);
}

TEST(Parser, EveryCutOfATagIsReadOrRefused)
{
    const Bytes whole = TagBuilder(4)
                            .Raw(kTitle4)
                            .Frame("PRIV", "\0\0\0\2\xFF\0\xE1"s, WithFlags(0, 3))
                            .Frame("APIC", "\0image/png\0\3\0data"s)
                            .Done();
    for (size_t size = 0; size < whole.size(); ++size) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
        EXPECT_TRUE(Parsed(cut).starts_with(size < 10 ? "throws 0:" : "")) << size;
    }
    EXPECT_TRUE(Parsed(whole).starts_with("4: TIT2"));
}

// A stream that cannot tell its length and hands out what it has in small pieces.
class Trickle : public streamIn
{
public:
    explicit Trickle(const Bytes& bytes) : m_bytes(bytes) {}
    size_t read(void* buffer, size_t size) override
    {
        m_largest = std::max(m_largest, size);
        id3parser::streamInMem in(m_bytes.data() + m_at, m_bytes.size() - m_at);
        const size_t count = in.read(buffer, size);
        m_at += count;
        return count;
    }
    size_t skip(size_t size) override
    {
        const size_t count = std::min(size, m_bytes.size() - m_at);
        m_at += count;
        return count;
    }
    size_t Largest() const { return m_largest; }

private:
    const Bytes& m_bytes;
    size_t m_at = 0;
    size_t m_largest = 0;
};

TEST(Parser, ALyingSizeTakesNoMemory)
{
    const Bytes tag = TagBuilder(3).Raw("TIT2\3\x93\x87\0\0\0abc"s).WithSize(60000010).Done();
    Trickle in(tag);
    id3parser::t_tag parsed;
    id3parser::parseCallback everything;
    EXPECT_THROW(parsed.Parse(in, everything), parseError);
    EXPECT_LE(in.Largest(), 1024u * 1024);
    EXPECT_EQ(Parsed(tag), "throws 0:");

    const Bytes large = TagBuilder(3).Frame("PRIV", std::string(3000000, 'x')).Done();
    Trickle sound(large);
    parsed.Parse(sound, everything);
    EXPECT_EQ(parsed.Frames().front().data.get_size(), 3000000u);
}

TEST(Parser, FalseSynchronisationIsFound)
{
    const std::pair<std::string, bool> cases[] = {{"", false},
                                                  {"\xFF\xDF", false},
                                                  {"\xFF\xE0", true},
                                                  {"a\xFF", true},
                                                  {"\xFF\0\xE0"s, false},
                                                  {std::string(4096, '\xFF') + "a", true},
                                                  {std::string(4095, 'a') + "\xFF\xF0", true}};
    for (const auto& [data, expected] : cases)
        EXPECT_EQ(id3parser::test_for_false_sync(data.data(), data.size()), expected) << data;
}

TEST(RawFrames, AreFoundWhereTheParserGivesUp)
{
    const std::string longBody(300, 'x');
    const auto plain = [&](std::string_view id, const std::string& body) {
        return FrameBytes(3, id, body); // sizes as in ID3v2.3
    };
    struct Case {
        const char* name;
        Bytes tag;
        std::string ids;
        bool parses;
    };
    const Case cases[] = {
        {"sound", TagBuilder(4).Raw(kTitle4).Frame("PRIV", longBody).Raw("\0\0\0"s).Done(),
         "TIT2 PRIV ", true},
        {"compressed",
         TagBuilder(4).Raw(kTitle4).Frame("COMM", longBody, WithFlags(0, 9)).Raw(kTitle4).Done(),
         "TIT2 COMM TIT2 ", false},
        {"plain sizes",
         TagBuilder(4).Raw(plain("PRIV", longBody) + plain("TIT2", Text("a"))).Done(), "PRIV TIT2 ",
         false},
        {"body cut", TagBuilder(3).Raw(kTitle3 + plain("PRIV", longBody)).WithSize(200).Done(),
         "TIT2 ", false},
        {"unknown header flag", TagBuilder(3, 0x10).Raw(kTitle3).Done(), "TIT2 ", false},
        {"garbage behind the frames", TagBuilder(3).Raw(kTitle3 + "????\0\0\0\0\0\0?!"s).Done(),
         "TIT2 ", true},
        {"no tag", B("RIFF0123456789"), "", false}};
    for (const Case& c : cases) {
        const id3parser::RawTag raw = id3parser::WalkRawFrames(c.tag);
        std::string ids;
        for (const id3parser::RawFrame& frame : raw.frames)
            ids += IdText(frame.header.id) + " ";
        EXPECT_EQ(ids, c.ids) << c.name;
        EXPECT_EQ(raw.parses, c.parses) << c.name;
    }
}

TEST(Parser, ReadsATagUnsynchronisedByAnotherProgram)
{
    const char* folder = std::getenv("AIFF_CORPUS");
    std::ifstream file(std::string(folder ? folder : AIFF_CORPUS_PATH) + "/id3v23_unsynch.id3",
                       std::ios::binary);
    if (!file)
        GTEST_SKIP() << "the corpus of real files is not here";
    const Bytes tag{std::istreambuf_iterator<char>(file), {}};
    const Items expected = {{L"Album", L"100% Jazz"},
                            {L"Artist", L"Nina Simone"},
                            {L"Length", L"216000"},
                            {L"Title", L"My babe just cares for me"},
                            {L"Track", L"03"}};
    EXPECT_EQ(Read(tag), expected);
}

} // namespace
