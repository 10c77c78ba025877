// The tag list, its blob, album-art names and track numbers.

#include "support/AiffBuilder.h"
#include "tags/NTag.h"

#include <gtest/gtest.h>
#include <memory>
#include <sstream>

namespace
{

using namespace std::string_literals;

// Lists are written as "name=value;name=value;".
NTag List(const XStr& items)
{
    NTag tags;
    std::wistringstream in(items);
    for (XStr name, value; std::getline(in, name, L'=') && std::getline(in, value, L';');)
        tags.AddTag(name, value);
    return tags;
}

XStr Content(const NTag& tags)
{
    XStr items;
    for (long i = 0; i < tags.Count(); ++i)
        items += tags[i].name + L"=" + tags[i].value + L";";
    return items;
}

TEST(TagList, LookUpsIgnoreCaseAndFindTheFirst)
{
    NTag tags = List(L"Artist=A;Title=T;ARTIST=B;");
    EXPECT_EQ(tags.GetTagValue(L"aRTIST"), L"A");
    EXPECT_EQ(tags.GetTagValue(L"none"), L"");
    EXPECT_EQ(tags.FindElement(L"none"), nullptr);
    tags.SetTagValue(L"artist", L"C");
    tags.SetTagValue(L"Year", L"1999");
    EXPECT_EQ(Content(tags), L"Artist=C;Title=T;ARTIST=B;Year=1999;");
    EXPECT_EQ(tags.FindElementRemove(L"artist"), L"C");
    EXPECT_EQ(tags.FindElementRemove(L"artist"), L"");
    EXPECT_FALSE(tags.RemoveTag(L"artist"s));
    EXPECT_TRUE(tags.RemoveTag(L"TITLE"s));
    for (const long outside : {-1L, 1L, 5L})
        tags.RemoveTag(outside);
    EXPECT_EQ(Content(tags), L"Year=1999;");
    tags.RemoveTag(0L);
    EXPECT_EQ(tags.Count(), 0);
}

TEST(TagList, MergeKeepsOneItemPerNewName)
{
    const NTag other = List(L"Artist=A;artist=B;New=N;");
    const auto merged = [&](const XStr& items, bool overwrite) {
        NTag tags = List(items);
        tags.MergeFrom(other, overwrite);
        return Content(tags);
    };
    EXPECT_EQ(merged(L"", false), L"Artist=A;New=N;");
    EXPECT_EQ(merged(L"", true), L"artist=B;New=N;");
    EXPECT_EQ(merged(L"ARTIST=old;Artist=2;", false), L"ARTIST=old;Artist=2;New=N;");
    EXPECT_EQ(merged(L"ARTIST=old;Artist=2;", true), L"artist=B;Artist=2;New=N;");
    NTag copy = List(L"gone=x;");
    copy.DuplicateFrom(other);
    EXPECT_EQ(Content(copy), L"Artist=A;New=N;");
}

TEST(TagList, DropsInternalBinaryAndBigItems)
{
    const auto kept = [](unsigned flags) {
        NTag tags = List(L"T=;_riff_x=;_RIFF_=;_riff=;_CDToc=;_cdtocs=;_albumart_1_Media=;"
                         L"_albumart=;_crc=;_crc2=;=;");
        tags.DropTagsBeginUnderScore(flags);
        return Content(tags);
    };
    EXPECT_EQ(kept(0), L"T=;=;");
    EXPECT_EQ(kept(1), L"T=;=;");
    EXPECT_EQ(kept(2), L"T=;_riff_x=;_RIFF_=;=;");
    EXPECT_EQ(kept(4), L"T=;_CDToc=;=;");
    EXPECT_EQ(kept(8), L"T=;_albumart_1_Media=;=;");
    EXPECT_EQ(kept(16), L"T=;_crc=;=;");
    EXPECT_EQ(kept(31), L"T=;_riff_x=;_RIFF_=;_CDToc=;_albumart_1_Media=;_crc=;=;");
    NTag tags = List(L"ab=cd;ab=cde;");
    tags.AddTag(L"ab", "1234", 4);
    tags.AddTag(L"ab", "12345", 5);
    tags.RemoveTagsBiggerThan(8);
    EXPECT_EQ(Content(tags), L"ab=cd;ab=;");
    EXPECT_EQ(tags[1].data, Text("1234"));
    tags.RemoveAllBinaryTags();
    EXPECT_EQ(Content(tags), L"ab=cd;");
}

// --- The blob --------------------------------------------------------------------------

Bytes Encoded(const NTag& tags, bool utf8 = false)
{
    XMem blob;
    EXPECT_TRUE(utf8 ? tags.ToRawMemoryUTF8(blob) : tags.ToRawMemory(blob));
    return {blob.View().begin(), blob.View().end()};
}

// From a block of exactly that size, so that a sanitizer sees each byte beyond it.
NTag Decoded(const Bytes& blob, bool utf8 = false)
{
    const auto exact = std::make_unique<uint8_t[]>(blob.size());
    std::copy(blob.begin(), blob.end(), exact.get());
    NTag tags = List(L"gone=;");
    utf8 ? tags.InitFromRawMemoryUTF8(exact.get(), std::ssize(blob))
         : tags.InitFromRawMemory(exact.get(), std::ssize(blob));
    return tags;
}

TEST(TagBlob, LayoutOfBothForms)
{
    EXPECT_EQ(Encoded({}), Bytes(4));
    NTag tags = List(L"Title=Abc;\u00E9\U00012345=\u20AC;");
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
    EXPECT_EQ(Content(Decoded(Encoded(tags))), L"Title=Abc;\u00E9\u2345=\u20AC;P=;");
    EXPECT_EQ(Content(Decoded(Encoded(tags, true), true)), Content(tags));
    EXPECT_EQ(Decoded(Encoded(tags))[2].data, (Bytes{0, 1}));
}

TEST(TagBlob, DamageEndsTheListAndKeepsWhatCameBefore)
{
    const std::string good = "\x0C\0\0\0T\0\0\0A\0\0\0"s;
    struct Row {
        const char* what;
        std::string blob;
        const wchar_t* items;
    };
    const Row rows[] = {
        {"control", "\1\0\0\0"s + good, L"T=A;"},
        {"nothing", "", L""},
        {"torn count", "\1\0\0"s, L""},
        {"count alone", "\1\0\0\0"s, L""},
        {"count too high", "\3\0\0\0"s + good + good, L"T=A;T=A;"},
        {"count too low", "\1\0\0\0"s + good + good, L"T=A;"},
        {"negative count", "\xFF\xFF\xFF\xFF"s + good, L""},
        {"torn size", "\2\0\0\0"s + good + "\x0C\0\0"s, L"T=A;"},
        {"negative size", "\2\0\0\0"s + good + "\0\0\0\x80N\0\0\0"s, L"T=A;"},
        {"size beyond the blob", "\2\0\0\0"s + good + "\x09\0\0\0N\0\0\0"s, L"T=A;"},
        {"size up to the end", "\2\0\0\0"s + good + "\x08\0\0\0N\0\0\0"s, L"T=A;N=;"},
        {"no room for strings", "\2\0\0\0\4\0\0\0"s + good, L"=;"},
        {"one byte of data", "\2\0\0\0\5\0\0\0\x09"s + good, L"=;T=A;"},
        {"unterminated name", "\1\0\0\0\x08\0\0\0N\0N\0"s, L"NN=;"},
        {"unterminated value", "\1\0\0\0\x0A\0\0\0N\0\0\0V\0"s, L"N=V;"},
        {"odd rest of a value", "\1\0\0\0\x0B\0\0\0N\0\0\0V\0\7"s, L"N=V;"},
        // A size that does not count itself: only the zero ends the name.
        {"size 0", "\2\0\0\0\0\0\0\0N\0M\0\0\0"s + good, L"NM=;"},
        {"size 3, unterminated", "\1\0\0\0\3\0\0\0N\0M"s, L"N=;"},
        {"surrogates", "\1\0\0\0\x0C\0\0\0\x3C\xD8\xB5\xDF\0\0\0\0"s, L"\xD83C\xDFB5=;"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Content(Decoded(Text(row.blob))), row.items) << row.what;
    const Row utf8Rows[] = {
        {"control", "\2\0\0\0\x0A\0\0\0T\0Abc\0\x09\0\0\0T\0A\0\xFF"s, L"T=Abc;T=A;"},
        {"name leaves its item", "\2\0\0\0\6\0\0\0abc\0"s + good, L"abc=;"},
        {"name leaves the blob", "\1\0\0\0\7\0\0\0abc"s, L"abc=;"},
        {"value leaves the blob", "\1\0\0\0\x08\0\0\0a\0bc"s, L"a=bc;"},
    };
    for (const Row& row : utf8Rows)
        EXPECT_EQ(Content(Decoded(Text(row.blob), true)), row.items) << row.what;
    NTag tags = List(L"gone=;");
    tags.InitFromRawMemory(nullptr, 100);
    EXPECT_EQ(tags.Count(), 0);
    tags.InitFromRawMemory(good.data(), -1);
    EXPECT_EQ(tags.Count(), 0);
}

TEST(TagBlob, EveryCutIsHarmless)
{
    NTag tags = List(L"Title=Abc;Artist=\u20AC;");
    tags.AddTag(L"_albumart_1_Media", "abcd", 4);
    for (const bool utf8 : {false, true})
        for (Bytes blob = Encoded(tags, utf8); !blob.empty(); blob.pop_back()) {
            const NTag cut = Decoded(blob, utf8);
            for (long i = 0; i < cut.Count(); ++i)
                EXPECT_EQ(cut[i].name, tags[i].name) << blob.size();
            EXPECT_EQ(cut.Count() == 3, blob == Encoded(tags, utf8)) << blob.size();
        }
}

// --- Names of pictures, track numbers ------------------------------------------------------

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

TEST(AlbumArt, ItemNamesAreSplit)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"_albumart_1_Media", L"Media|"},
        {L"_albumart_12_Media<subdesc>a<subdesc>b", L"Media|a<subdesc>b"},
        {L"_albumart_1_Media_x<SUBDESC>", L"Media_x<SUBDESC>|"},
        {L"_albumart_1_<subdesc>", L"|"},
        {L"_albumart_1", L"|"},
        {L"", L"|"}};
    XStr description, sub = L"old";
    for (const auto& [line, parts] : rows) {
        NTag::SpiltAlbumArtDesctiptionLine(line, description, sub);
        EXPECT_EQ(description + L"|" + sub, parts);
    }
    NTag tags = List(L"Title=;_AlbumArt_12_Band=;_albumart_1_Media<subdesc>s=;");
    EXPECT_EQ(tags.GetAlbumArt(1, description, sub), &tags[1]); // the first that begins so
    EXPECT_EQ(description + sub, L"Band");
    EXPECT_EQ(tags.GetAlbumArt(2, description, sub), nullptr);
    EXPECT_EQ(description + sub, L"");
}

TEST(TrackNumbers, AreSplitAndPadded)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"3/9", L"03/09"},   {L"7", L"07"},        {L"12/15", L"12/15"}, {L"0/12", L""},
        {L"", L""},           {L"x", L""},          {L"5/", L"05"},       {L"5/x", L"05"},
        {L"5/ 7 ", L"05/07"}, {L"1/2/3", L"01/02"}, {L"123/4", L"123/04"}};
    for (const auto& [value, padded] : rows)
        EXPECT_EQ(List(L"Track="s + value).PaddedTrackNum(L"track"), padded) << ToUtf8(value);
    EXPECT_EQ(NTag().PaddedTrackNum(L"Track"), L"");
    XStr track, count;
    NTag::SplitTrackNumANDCountStr(L" 3 / 12 ", track, count);
    EXPECT_EQ(track + L"|" + count, L" 3 |12");
    NTag::SplitTrackNumANDCountStr(L"3", track, count);
    EXPECT_EQ(track + L"|" + count, L"3|");
}

} // namespace
