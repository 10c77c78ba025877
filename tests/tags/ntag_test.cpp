// SPDX-License-Identifier: MIT

// The tag list, its blob, album-art names and track numbers.

#include "support/AiffBuilder.h"
#include "support/TagList.h"

#include <gtest/gtest.h>

namespace
{

using namespace std::string_literals;
using WidePair = std::pair<const wchar_t*, const wchar_t*>;

TEST(TagList, LookUpsIgnoreCaseAndFindTheFirst)
{
    NTag tags = ListOf(L"Artist=A;Title=T;ARTIST=B");
    EXPECT_EQ(tags.GetTagValue(L"aRTIST"), L"A");
    tags.SetTagValue(L"artist", L"C");
    tags.SetTagValue(L"Year", L"1999");
    EXPECT_EQ(Content(tags), L"Artist=C;Title=T;ARTIST=B;Year=1999;");
    EXPECT_EQ(tags.FindElementRemove(L"artist"), L"C");
    EXPECT_FALSE(tags.RemoveTag(L"artist"s));
    for (const long position : {-1L, 2L, 0L})
        tags.RemoveTag(position);
    EXPECT_EQ(Content(tags), L"Year=1999;");
}

TEST(TagList, MergeKeepsOneItemPerNewName)
{
    const NTag other = ListOf(L"Artist=A;artist=B;New=N");
    const auto merged = [&](const XStr& items, bool overwrite) {
        NTag tags = ListOf(items);
        tags.MergeFrom(other, overwrite);
        return Content(tags);
    };
    EXPECT_EQ(merged(L"", false), L"Artist=A;New=N;");
    EXPECT_EQ(merged(L"", true), L"artist=B;New=N;");
    EXPECT_EQ(merged(L"ARTIST=old;Artist=2", false), L"ARTIST=old;Artist=2;New=N;");
    EXPECT_EQ(merged(L"ARTIST=old;Artist=2", true), L"artist=B;Artist=2;New=N;");
    NTag copy = ListOf(L"gone=x");
    copy.DuplicateFrom(other);
    EXPECT_EQ(Content(copy), L"Artist=A;New=N;");
}

TEST(TagList, DropsInternalAndBigItems)
{
    const wchar_t* const kept[] = {L"", L"_riff_x=;_RIFF_=;", L"_CDToc=;", L"_albumart_1_Media=;",
                                   L"_crc=;"}; // by each bit of the flags
    for (unsigned flags = 0; flags < 32; ++flags) {
        NTag tags = ListOf(L"_riff_x=;_RIFF_=;_riff=;_CDToc=;_cdtocs=;_albumart_1_Media=;"
                           L"_albumart=;_crc=;_crc2=;T=;=");
        tags.DropTagsBeginUnderScore(flags);
        XStr expected;
        for (unsigned bit = 0; bit < 5; ++bit)
            expected += (flags >> bit & 1) != 0 ? kept[bit] : L"";
        EXPECT_EQ(Content(tags), expected + L"T=;=;") << flags;
    }
    NTag tags = ListOf(L"ab=cd;ab=cde;_albumart_1=1234");
    tags.RemoveTagsBiggerThan(8);
    EXPECT_EQ(Content(tags), L"ab=cd;");
}

TEST(TagBlob, LayoutOfBothForms)
{
    EXPECT_EQ(Encoded({}), Bytes(4));
    NTag tags = ListOf(L"Title=Abc;\u00E9\U00012345=\u20AC");
    tags.AddTag(L"P", "\0\1", 2);
    EXPECT_EQ(Encoded(tags), Text("\3\0\0\0"
                                  "\x18\0\0\0T\0i\0t\0l\0e\0\0\0A\0b\0c\0\0\0"
                                  "\x0E\0\0\0\xE9\0\x45\x23\0\0\xAC\x20\0\0"
                                  "\x0C\0\0\0P\0\0\0\0\0\0\1"s));
    EXPECT_EQ(Encoded(tags, true), Text("\3\0\0\0"
                                        "\x0E\0\0\0Title\0Abc\0"
                                        "\x0F\0\0\0\u00E9\U00012345\0\u20AC\0"
                                        "\x09\0\0\0P\0\0\0\1"s));
    EXPECT_EQ(tags.GetRawTagItemSize(0), 24u);
    EXPECT_EQ(tags.GetRawTagItemSizeUTF8(1), 15u);
    // The low 16 bits of a character come back, without pairing.
    EXPECT_EQ(Content(Decoded(Encoded(tags))), L"Title=Abc;\u00E9\u2345=\u20AC;P=\0\1;"s);
    EXPECT_EQ(Content(Decoded(Encoded(tags, true), true)), Content(tags));
}

TEST(TagBlob, DamageEndsTheListAndKeepsWhatCameBefore)
{
    const std::string good = "\x0C\0\0\0T\0\0\0A\0\0\0"s, one = "\1\0\0\0"s, two = "\2\0\0\0"s;
    using Row = std::pair<std::string, const wchar_t*>;
    const Row rows[] = {
        // The count: sound, torn, alone, too high, too low, negative.
        Row(one + good, L"T=A;"), Row("", L""), Row("\1\0\0"s, L""), Row(one, L""),
        Row("\3\0\0\0"s + good + good, L"T=A;T=A;"), Row(one + good + good, L"T=A;"),
        Row("\xFF\xFF\xFF\xFF"s + good, L""),
        // The size of an item: torn, negative, beyond the blob, up to its end.
        Row(two + good + "\x0C\0\0"s, L"T=A;"), Row(two + good + "\0\0\0\x80N\0\0\0"s, L"T=A;"),
        Row(two + good + "\x09\0\0\0N\0\0\0"s, L"T=A;"),
        Row(two + good + "\x08\0\0\0N\0\0\0"s, L"T=A;N=;"),
        // No room for strings, one byte of data, unterminated strings, an odd byte.
        Row(two + "\4\0\0\0"s + good, L"=;"), Row(two + "\5\0\0\0\x09"s + good, L"=\x09;T=A;"),
        Row(one + "\x08\0\0\0N\0N\0"s, L"NN=;"), Row(one + "\x0A\0\0\0N\0\0\0V\0"s, L"N=V;"),
        Row(one + "\x0B\0\0\0N\0\0\0V\0\7"s, L"N=V\7;"),
        // A size that does not count itself: only the zero ends the name.
        Row(two + "\0\0\0\0N\0M\0\0\0"s + good, L"NM=;"), Row(one + "\3\0\0\0N\0M"s, L"N=;"),
        Row(one + "\x0C\0\0\0\x3C\xD8\xB5\xDF\0\0\0\0"s, L"\xD83C\xDFB5=;")};
    for (const auto& [blob, items] : rows)
        EXPECT_EQ(Content(Decoded(Text(blob))), items) << testing::PrintToString(blob);
    // Strings that leave their item, and the blob.
    EXPECT_EQ(Content(Decoded(Text(two + "\6\0\0\0abc\0"s + good), true)), L"abc=;");
    EXPECT_EQ(Content(Decoded(Text(one + "\7\0\0\0abc"s), true)), L"abc=;");
    EXPECT_EQ(Content(Decoded(Text(one + "\x08\0\0\0a\0bc"s), true)), L"a=bc;");
    for (const auto& [bytes, size] : {std::pair<const char*, long>(nullptr, 100), {"\1\0\0", -1}}) {
        NTag tags = ListOf(L"gone=");
        tags.InitFromRawMemory(bytes, size);
        EXPECT_EQ(tags.Count(), 0);
    }
}

TEST(AlbumArt, NamesStandForPictureTypes)
{
    std::wistringstream names(L"|32x32 Icon|Other Icon|Front Album Cover|Back Album Cover|"
                              L"Leaflet Page|Media|Lead Artist|Artist|Conductor|Band|Composer|"
                              L"Writer|Recording Location|During Recording|During Performance|"
                              L"Video Capture||Illustration|Artist Logo|Publisher Logo||");
    int type = 0;
    for (XStr name; std::getline(names, name, L'|'); ++type) {
        const XStr element = NTag::AlbumArtAPICPicTypeToElementDescription(type);
        EXPECT_EQ(element, name.empty() ? L"" : L"_" + name);
        EXPECT_EQ(NTag::AlbumArtDescriptionToAPICPicType(name), name.empty() ? 3 : type);
    }
    EXPECT_EQ(type, 22);
    EXPECT_EQ(NTag::AlbumArtAPICPicTypeToElementDescription(-1), L"");
    EXPECT_EQ(NTag::AlbumArtDescriptionToAPICPicType(L"MEDIA"), 6);
    EXPECT_EQ(NTag::AlbumArtDescriptionToAPICPicType(L"_Media"), 3);
    EXPECT_EQ(NTag::AlbumArtDescriptionToAPICPicType(L"Media "), 3);
}

TEST(AlbumArt, IsFoundByTheBeginningOfItsIndexAndItsNameSplit)
{
    const WidePair rows[] = {
        WidePair(L"_albumart_1_Media", L"Media|"), WidePair(L"_albumart_1", L"|"),
        WidePair(L"_AlbumArt_1_Media_x<SUBDESC>", L"Media_x<SUBDESC>|"),
        // What follows the first mark is the sub-description.
        WidePair(L"_albumart_12_Media<subdesc>a<subdesc>b", L"Media|a<subdesc>b"),
        WidePair(L"_albumart_1_<subdesc>", L"|")};
    XStr description, sub;
    for (const auto& [name, parts] : rows) {
        NTag tags = ListOf(L"Title=T;"s + name + L"=1;_albumart_2_Band=2");
        EXPECT_EQ(tags.GetAlbumArt(1, description, sub), tags.pTag(1));
        EXPECT_EQ(description + L"|" + sub, parts);
        EXPECT_EQ(tags.GetAlbumArt(3, description, sub), nullptr);
        EXPECT_EQ(description + sub, L"");
        tags.RemoveAllBinaryTags();
        EXPECT_EQ(Content(tags), L"Title=T;");
        EXPECT_TRUE(tags.pTag(1) == nullptr && tags.pTag(-1) == nullptr);
    }
    NTag::SpiltAlbumArtDesctiptionLine(L"", description, sub);
    EXPECT_EQ(description + sub, L"");
}

TEST(TrackNumbers, AreSplitAndPadded)
{
    const WidePair rows[] = {{L"3/9", L"03/09"},   {L"7", L"07"},        {L"12/15", L"12/15"},
                             {L"0/12", L""},       {L"", L""},           {L"x", L""},
                             {L"5/", L"05"},       {L"5/x", L"05"},      {L"5/ 7 ", L"05/07"},
                             {L"1/2/3", L"01/02"}, {L"123/4", L"123/04"}};
    for (const auto& [value, padded] : rows)
        EXPECT_EQ(ListOf(L"Track="s + value).PaddedTrackNum(L"track"), padded) << ToUtf8(value);
}

} // namespace
