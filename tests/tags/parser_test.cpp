// SPDX-License-Identifier: MIT
#include "TagBuilder.h"

#include <gtest/gtest.h>

namespace
{

const std::string kTitle3 = Frames(3, "TIT2:a"), kTitle4 = Frames(4, "TIT2:a");

TEST(Parser, RefusesDamage)
{
    const Bytes damaged[] = {
        // The header: cut, of another kind, with a size of more than 7 bits, with flags.
        Text("ID3\3\0\0\0\0\0"s), Text("ID2\3\0\0\0\0\0\0"s), Text("ID3\3\0\0\0\0\x80\0"s),
        Tag(5, ""), Tag(2, "", 0x40), Tag(3, "TIT2:a", 0x10), Tag(4, "", 8),
        // Extended headers that are too long and too short.
        TagOf(3, "\0\0\0\6abcde"s, 0x40), TagOf(4, "\0\0\0\5a"s + kTitle4, 0x40),
        // Sizes of frames.
        TagOf(3, "TIT2\0\0\0\3\0\0a"s, 0, 99), TagOf(3, "TIT2\4\0\0\0\0\0a"s),
        TagOf(4, "TIT2\0\0\0\x80\0\0a"s),
        // Bodies.
        Tag(2, "PIC:JP"), Tag(2, "PIC=\3JPG\3~p"), Tag(3, "TIT1[0080]=012"),
        Tag(4, "TIT2[0001]=~~~"), Tag(4, "PRIV[0002]=a\xFF"),
        TagOf(3, "PRIV\0\0\0\2\0\0\xFF\xE1"s, 0x80)};
    for (const Bytes& tag : damaged)
        EXPECT_EQ(Parsed(tag), "throws") << S(tag);
    // What comes before the damage is there.
    const Bytes later[] = {TagOf(3, kTitle3 + "TIT1\0\0"s), TagOf(3, kTitle3 + kTitle3, 0, 23),
                           Tag(4, "TIT2:a|TIT1[0008]=0123456789")};
    for (const Bytes& tag : later)
        EXPECT_EQ(Parsed(tag), "TIT2:athrows") << S(tag);
}

TEST(Parser, ReadsFrames)
{
    const Bytes titles[] = {
        Tag(3, "TIT2:a"), Tag(3, "TIT2:a", 0x20), TagOf(3, "\0\0\0\6abcdef"s + kTitle3, 0x40),
        // The end: padding, too little for a header, the end of the input.
        TagOf(3, kTitle3 + "\0"s + kTitle3), TagOf(3, kTitle3 + "TI"), TagOf(3, kTitle3, 0, 99),
        // An empty frame and ones that are passed over.
        Tag(3, "TIT1=|TIT2:a"), Tag(3, "TIT2[ff00]:a"), Tag(3, "TIT1[0040]=x|TIT2:a"),
        Tag(3, "TIT1[0020]=x|TIT2:a"), Tag(3, "TIT1[0080]=0123456789|TIT2:a")};
    for (const Bytes& tag : titles)
        EXPECT_EQ(Parsed(tag), "3 TIT2:a") << S(tag);
    const Bytes titles4[] = {Tag(4, "TIT2:a"), Tag(4, "TIT2:a", 0x90), Tag(4, "TIT2[0001]=~~~\2~a"),
                             TagOf(4, "\0\0\0\6ab"s + kTitle4, 0x40),
                             // Frames that are passed over.
                             Tag(4, "TIT1[1000]=x|TIT2:a"), Tag(4, "TIT1[4000]=x|TIT2:a"),
                             Tag(4, "TIT1[0004]=x|TIT2:a")};
    for (const Bytes& tag : titles4)
        EXPECT_EQ(Parsed(tag), "4 TIT2:a") << S(tag);
    using Row = std::pair<Bytes, std::string>;
    const Row rows[] = {
        // Names of 2.2, also in 2.3, and pictures.
        Row(Tag(2, "TT2:a|ULT=x"), "2 TIT2:a|0=x"), Row(Tag(2, "TT1=|TT2:a"), "2 TIT2:a"),
        Row(Tag(3, "TT2~:a|ULT~=x"), "3 TIT2:a|0=x"), Row(Tag(2, "PIC:GIF"), "2 APIC:image/gif\0"s),
        Row(Tag(2, "PIC:JPG\3~p"), "2 APIC:image/jpeg\0\3\0p"s),
        Row(Tag(2, "PIC=\1jpg\3p"), "2 APIC=\1image/x-unknown\0\3p"s),
        // Unsynchronisation.
        Row(Tag(4, "PRIV[0003]=~~~\2\xFF~\xE1"), "4 PRIV=\xFF\xE1"),
        Row(TagOf(4, Frames(4, "PRIV[0002]=abcd"), 0, 12), "4 PRIV=ab"),
        Row(TagOf(3, "PRIV\0\0\0\3\0\0\xFF\0\xE1z"s, 0x80), "3 PRIV=\xFF\xE1z"),
        Row(TagOf(2, "TT2\0\0\2\0\xFF\0"s, 0x80), "2 TIT2:\xFF")};
    for (const auto& [tag, expected] : rows)
        EXPECT_EQ(Parsed(tag), expected);
}

TEST(Parser, AsksWhichFramesAreWantedFromID3v23OnAndForUnnamedOnesBefore)
{
    struct Only : id3parser::parseCallback {
        explicit Only(uint32_t id) : wanted(id) {}
        bool wantFrame(uint32_t id) override { return id == wanted; }
        uint32_t wanted;
    };
    constexpr uint32_t kAlbum = id3parser::FrameId("TALB");
    EXPECT_EQ(Parsed(Tag(2, "TT2:a|ULT=x|XXX=x|TAL:b"), Only(kAlbum)), "2 TIT2:a|TALB:b");
    EXPECT_EQ(Parsed(Tag(2, "TT2:a|ULT=x"), Only(0)), "2 TIT2:a|0=x");
    EXPECT_EQ(Parsed(Tag(3, "TIT2:a|TALB:b"), Only(kAlbum)), "3 TALB:b");
    // A frame that is not wanted does no harm.
    EXPECT_EQ(Parsed(Tag(4, "TIT2[0008]=zip|TALB:b"), Only(kAlbum)), "4 TALB:b");
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

} // namespace
