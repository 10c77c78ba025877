#include "TagBuilder.h"
#include "support/TempDir.h"

#include <cstdlib>

#include <gtest/gtest.h>

namespace
{

const std::string kTitle3 = Frames(3, "TIT2:a"), kTitle4 = Frames(4, "TIT2:a");

TEST(Parser, ReadsFramesAndRefusesDamage)
{
    const std::tuple<const char*, Bytes, std::string> rows[] = {
        {"2.3", Tag(3, "TIT2:a"), "3 TIT2:a"},
        {"2.4", Tag(4, "TIT2:a"), "4 TIT2:a"},
        {"nine bytes", Text("ID3\3\0\0\0\0\0"s), "throws"},
        {"wrong magic", Text("ID2\3\0\0\0\0\0\0"s), "throws"},
        {"version 5", Tag(5, ""), "throws"},
        {"size with a top bit", Text("ID3\3\0\0\0\0\x80\0"s), "throws"},
        {"2.2 compression flag", Tag(2, "", 0x40), "throws"},
        {"2.3 unknown flag", Tag(3, "TIT2:a", 0x10), "throws"},
        {"2.3 experimental", Tag(3, "TIT2:a", 0x20), "3 TIT2:a"},
        {"2.4 unknown flag", Tag(4, "", 0x08), "throws"},
        {"2.4 footer, header unsynchronisation", Tag(4, "TIT2:a", 0x90), "4 TIT2:a"},
        {"2.3 extended header", TagOf(3, "\0\0\0\6abcdef"s + kTitle3, 0x40), "3 TIT2:a"},
        {"2.3 extended header too long", TagOf(3, "\0\0\0\6abcde"s, 0x40), "throws"},
        {"2.4 extended header", TagOf(4, "\0\0\0\6ab"s + kTitle4, 0x40), "4 TIT2:a"},
        {"2.4 extended header too short", TagOf(4, "\0\0\0\5a"s + kTitle4, 0x40), "throws"},
        {"padding ends the frames", TagOf(3, kTitle3 + "\0"s + kTitle3), "3 TIT2:a"},
        {"header cut by the limit", TagOf(3, kTitle3 + "TI"), "3 TIT2:a"},
        {"frame size cut by the limit", TagOf(3, kTitle3 + "TIT1\0\0"s), "TIT2:athrows"},
        {"body cut by the limit", TagOf(3, kTitle3 + kTitle3, 0, 23), "TIT2:athrows"},
        {"body beyond the input", TagOf(3, "TIT2\0\0\0\3\0\0a"s, 0, 99), "throws"},
        {"input ends early", TagOf(3, kTitle3, 0, 99), "3 TIT2:a"},
        {"frame of 64 MiB", TagOf(3, "TIT2\4\0\0\0\0\0a"s), "throws"},
        {"2.4 frame size with a top bit", TagOf(4, "TIT2\0\0\0\x80\0\0a"s), "throws"},
        {"empty frame", Tag(3, "TIT1=|TIT2:a"), "3 TIT2:a"},
        {"2.2 names", Tag(2, "TT2:a|ULT=x"), "2 TIT2:a|0=x"},
        {"2.2 empty frame", Tag(2, "TT1=|TT2:a"), "2 TIT2:a"},
        {"2.2 name in 2.3", Tag(3, "TT2\0:a|ULT\0=x"s), "3 TIT2:a|0=x"},
        {"2.2 picture", Tag(2, "PIC:JPG\3\0p"s), "2 APIC:image/jpeg\0\3\0p"s},
        {"2.2 picture without data", Tag(2, "PIC:GIF"), "2 APIC:image/gif\0"s},
        {"2.2 picture of unknown format", Tag(2, "PIC=\1jpg\3p"), "2 APIC=\1image/x-unknown\0\3p"s},
        {"2.2 picture too short", Tag(2, "PIC:JP"), "throws"},
        {"2.2 picture in UTF-8", Tag(2, "PIC=\3JPG\3\0p"s), "throws"},
        {"2.3 status flags", Tag(3, "TIT2[ff00]:a"), "3 TIT2:a"},
        {"2.3 encrypted", Tag(3, "TIT1[0040]=x|TIT2:a"), "3 TIT2:a"},
        {"2.3 grouped", Tag(3, "TIT1[0020]=x|TIT2:a"), "3 TIT2:a"},
        {"2.3 compressed", Tag(3, "TIT1[0080]=0123456789|TIT2:a"), "3 TIT2:a"},
        {"2.3 compressed, too short", Tag(3, "TIT1[0080]=012"), "throws"},
        {"2.4 read-only", Tag(4, "TIT1[1000]=x|TIT2:a"), "4 TIT2:a"},
        {"2.4 preserved", Tag(4, "TIT1[4000]=x|TIT2:a"), "4 TIT2:a"},
        {"2.4 encrypted", Tag(4, "TIT1[0004]=x|TIT2:a"), "4 TIT2:a"},
        {"2.4 compressed", Tag(4, "TIT2:a|TIT1[0008]=0123456789"), "TIT2:athrows"},
        {"2.4 data length", Tag(4, "TIT2[0001]=\0\0\0\2\0a"s), "4 TIT2:a"},
        {"2.4 data length, too short", Tag(4, "TIT2[0001]=\0\0\0"s), "throws"},
        {"2.4 unsynchronised", Tag(4, "PRIV[0003]=\0\0\0\2\xFF\0\xE1"s), "4 PRIV=\xFF\xE1"},
        {"2.4 unsynchronised, lone FF", Tag(4, "PRIV[0002]=a\xFF"), "throws"},
        {"2.4 unsynchronised, cut", TagOf(4, Frames(4, "PRIV[0002]=abcd"), 0, 12), "4 PRIV=ab"},
        {"2.3 unsynchronised", TagOf(3, "PRIV\0\0\0\3\0\0\xFF\0\xE1z"s, 0x80), "3 PRIV=\xFF\xE1z"},
        {"2.3 unsynchronised, FF and false sync", TagOf(3, "PRIV\0\0\0\2\0\0\xFF\xE1"s, 0x80),
         "throws"},
        {"2.2 unsynchronised", TagOf(2, "TT2\0\0\2\0\xFF\0"s, 0x80), "2 TIT2:\xFF"},
    };
    for (const auto& [name, tag, expected] : rows)
        EXPECT_EQ(Parsed(tag), expected) << name;
}

TEST(Parser, AsksWhichFramesAreWantedFromID3v23OnAndForUnnamedOnesBefore)
{
    struct Only : id3parser::parseCallback {
        explicit Only(uint32_t id) : wanted(id) {}
        bool wantFrame(uint32_t id) override { return id == wanted; }
        uint32_t wanted;
    };
    constexpr uint32_t kAlbum = id3parser::FrameId("TALB");
    EXPECT_EQ(Parsed(Tag(2, "TT2:a|ULT=x|TAL:b"), Only(kAlbum)), "2 TIT2:a|TALB:b");
    EXPECT_EQ(Parsed(Tag(2, "TT2:a|ULT=x"), Only(0)), "2 TIT2:a|0=x");
    for (const int version : {3, 4}) {
        const std::string revision = std::to_string(version);
        EXPECT_EQ(Parsed(Tag(version, "TIT2:a|TALB:b"), Only(kAlbum)), revision + " TALB:b");
    }
    // A frame that is not wanted does no harm.
    EXPECT_EQ(Parsed(Tag(4, "TIT2[0008]=zip|TALB:b"), Only(kAlbum)), "4 TALB:b");
    EXPECT_EQ(Parsed(Tag(2, "XXX=x|TT2:a"), Only(kAlbum)), "2 TIT2:a");
}

TEST(Parser, ALyingSizeTakesNoMemory)
{
    const Bytes lying = TagOf(3, "TIT2\3\x93\x87\0\0\0abc"s, 0, 60000010);
    const Bytes large = Tag(3, "PRIV=" + std::string(3000000, 'x'));
    Trickle in(lying), sound(large);
    id3parser::t_tag parsed;
    id3parser::parseCallback everything;
    EXPECT_THROW(parsed.Parse(in, everything), id3parser::parseError);
    EXPECT_LE(in.largest, 1024u * 1024);
    EXPECT_EQ(Parsed(lying), "throws");
    parsed.Parse(sound, everything);
    EXPECT_EQ(parsed.Frames().front().data.get_size(), 3000000u);
}

TEST(Parser, ReadsATagUnsynchronisedByAnotherProgram)
{
    const char* folder = std::getenv("AIFF_CORPUS");
    const std::string path =
        std::string(folder ? folder : AIFF_CORPUS_PATH) + "/id3v23_unsynch.id3";
    if (!std::filesystem::exists(path))
        GTEST_SKIP() << "the corpus of real files is not here";
    EXPECT_EQ(Read(ReadFile(path)), L"Album=100% Jazz;Artist=Nina Simone;Length=216000;"
                                    L"Title=My babe just cares for me;Track=03;");
}

} // namespace
