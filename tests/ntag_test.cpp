// The tag list, its blob, album-art names and track numbers.

#include "support/AiffBuilder.h"
#include "tags/NTag.h"

#include <gtest/gtest.h>
#include <memory>

namespace
{

using Item = std::pair<XStr, XStr>;
using Items = std::vector<Item>;

NTag List(const Items& items)
{
    NTag tags;
    for (const auto& [name, value] : items)
        tags.AddTag(name, value);
    return tags;
}

Items Content(const NTag& tags)
{
    Items items;
    for (long i = 0; i < tags.Count(); ++i)
        items.emplace_back(tags[i].name, tags[i].value);
    return items;
}

TEST(TagList, LookUpsIgnoreCaseAndFindTheFirst)
{
    NTag tags = List({{L"Artist", L"A"}, {L"Title", L"T"}, {L"ARTIST", L"B"}});
    EXPECT_EQ(tags.GetTagValue(L"aRTIST"), L"A");
    EXPECT_EQ(tags.GetTagValue(L"none"), L"");
    EXPECT_EQ(tags.FindElement(L"none"), nullptr);
    tags.SetTagValue(L"artist", L"C");
    tags.SetTagValue(L"Year", L"1999");
    EXPECT_EQ(Content(tags),
              (Items{{L"Artist", L"C"}, {L"Title", L"T"}, {L"ARTIST", L"B"}, {L"Year", L"1999"}}));
    EXPECT_EQ(tags.FindElementRemove(L"artist"), L"C");
    EXPECT_EQ(tags.FindElementRemove(L"artist"), L"");
    EXPECT_FALSE(tags.RemoveTag(XStr(L"artist")));
    EXPECT_TRUE(tags.RemoveTag(XStr(L"TITLE")));
    tags.RemoveTag(5L);
    tags.RemoveTag(-1L);
    EXPECT_EQ(Content(tags), (Items{{L"Year", L"1999"}}));
    tags.RemoveTag(0L);
    EXPECT_EQ(tags.Count(), 0);
}

TEST(TagList, MergeKeepsOneItemPerNewName)
{
    const NTag other = List({{L"Artist", L"A"}, {L"artist", L"B"}, {L"New", L"N"}});
    NTag plain, overwritten, present = List({{L"ARTIST", L"old"}, {L"Artist", L"2"}}), copy;
    plain.MergeFrom(other, false);
    EXPECT_EQ(Content(plain), (Items{{L"Artist", L"A"}, {L"New", L"N"}}));
    overwritten.MergeFrom(other, true);
    EXPECT_EQ(Content(overwritten), (Items{{L"artist", L"B"}, {L"New", L"N"}}));
    present.MergeFrom(List({{L"artist", L"x"}}), false);
    EXPECT_EQ(Content(present), (Items{{L"ARTIST", L"old"}, {L"Artist", L"2"}}));
    present.MergeFrom(other, true);
    EXPECT_EQ(Content(present), (Items{{L"artist", L"B"}, {L"Artist", L"2"}, {L"New", L"N"}}));
    copy.AddTag(XStr(L"gone"), XStr());
    copy.DuplicateFrom(other);
    EXPECT_EQ(Content(copy), Content(plain));
}

TEST(TagList, DropsInternalBinaryAndBigItems)
{
    const Items internal = {{L"Title", L""},
                            {L"_riff_x", L""},
                            {L"_RIFF_", L""},
                            {L"_riff", L""},
                            {L"_CDToc", L""},
                            {L"_cdtocs", L""},
                            {L"_albumart_1_Media", L""},
                            {L"_albumart", L""},
                            {L"_crc", L""},
                            {L"_crc2", L""},
                            {L"", L""}};
    const auto kept = [&](unsigned flags) {
        NTag tags = List(internal);
        tags.DropTagsBeginUnderScore(flags);
        XStr names;
        for (const Item& item : Content(tags))
            names += item.first + L";";
        return names;
    };
    EXPECT_EQ(kept(0), L"Title;;");
    EXPECT_EQ(kept(1), L"Title;;");
    EXPECT_EQ(kept(2), L"Title;_riff_x;_RIFF_;;");
    EXPECT_EQ(kept(4), L"Title;_CDToc;;");
    EXPECT_EQ(kept(8), L"Title;_albumart_1_Media;;");
    EXPECT_EQ(kept(16), L"Title;_crc;;");
    EXPECT_EQ(kept(31), L"Title;_riff_x;_RIFF_;_CDToc;_albumart_1_Media;_crc;;");

    NTag tags = List({{L"ab", L"cd"}, {L"ab", L"cde"}});
    tags.AddTag(L"ab", "1234", 4);
    tags.AddTag(L"ab", "12345", 5);
    tags.RemoveTagsBiggerThan(8);
    EXPECT_EQ(Content(tags), (Items{{L"ab", L"cd"}, {L"ab", L""}}));
    EXPECT_EQ(tags[1].data.size(), 4u);
    tags.RemoveAllBinaryTags();
    EXPECT_EQ(Content(tags), (Items{{L"ab", L"cd"}}));
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
    NTag tags = List({{L"gone", L""}});
    utf8 ? tags.InitFromRawMemoryUTF8(exact.get(), static_cast<long>(blob.size()))
         : tags.InitFromRawMemory(exact.get(), static_cast<long>(blob.size()));
    return tags;
}

Bytes Little(uint32_t value)
{
    Bytes bytes = Big(value, 4);
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

TEST(TagBlob, LayoutOfBothForms)
{
    EXPECT_EQ(Encoded({}), Bytes(4));
    NTag tags = List({{L"Title", L"Abc"}, {L"\u00E9\U00012345", L"\u20AC"}});
    tags.AddTag(L"P", "\0\1", 2);
    EXPECT_EQ(tags.GetRawTagItemSize(0), 24u);
    EXPECT_EQ(Encoded(tags), Join({Little(3),
                                   Little(24),
                                   Text(std::string("T\0i\0t\0l\0e\0\0\0", 12)),
                                   Text(std::string("A\0b\0c\0\0\0", 8)),
                                   Little(14),
                                   {0xE9, 0, 0x45, 0x23, 0, 0, 0xAC, 0x20, 0, 0},
                                   Little(12),
                                   {'P', 0, 0, 0, 0, 0, 0, 1}}));
    EXPECT_EQ(tags.GetRawTagItemSizeUTF8(1), 15u);
    EXPECT_EQ(Encoded(tags, true),
              Join({Little(3),
                    Little(14),
                    Text(std::string("Title\0Abc\0", 10)),
                    Little(15),
                    {0xC3, 0xA9, 0xF0, 0x92, 0x8D, 0x85, 0, 0xE2, 0x82, 0xAC, 0},
                    Little(9),
                    {'P', 0, 0, 0, 1}}));
    // The low 16 bits of a character come back, without pairing.
    EXPECT_EQ(Decoded(Encoded(tags))[1].name, L"\u00E9\u2345");
    EXPECT_EQ(Content(Decoded(Encoded(tags, true), true)), Content(tags));
    EXPECT_EQ(Decoded(Encoded(tags))[2].data, (Bytes{0, 1}));
}

TEST(TagBlob, DamageEndsTheListAndKeepsWhatCameBefore)
{
    const Bytes good =
        Join({Little(24), Text(std::string("T\0i\0t\0l\0e\0\0\0A\0b\0c\0\0\0", 20))});
    const Items one = {{L"Title", L"Abc"}};
    const Bytes name = {'N', 0, 0, 0};
    struct Row {
        const char* what;
        Bytes blob;
        Items items;
    };
    const Row rows[] = {
        {"control", Join({Little(1), good}), one},
        {"nothing", {}, {}},
        {"torn count", {1, 0, 0}, {}},
        {"count alone", Little(1), {}},
        {"count too high", Join({Little(3), good, good}), {one[0], one[0]}},
        {"count too low", Join({Little(1), good, good}), one},
        {"negative count", Join({Little(0xFFFFFFFF), good}), {}},
        {"torn size", Join({Little(2), good, {24, 0, 0}}), one},
        {"negative size", Join({Little(2), good, Little(0x80000000), name}), one},
        {"size beyond the blob", Join({Little(2), good, Little(9), name}), one},
        {"size up to the blob's end",
         Join({Little(2), good, Little(8), name}),
         {one[0], {L"N", L""}}},
        {"no room for strings", Join({Little(2), Little(4), good}), {{L"", L""}}},
        {"one byte of data", Join({Little(2), Little(5), {9}, good}), {{L"", L""}, one[0]}},
        {"unterminated name", Join({Little(1), Little(8), {'N', 0, 'N', 0}}), {{L"NN", L""}}},
        {"unterminated value", Join({Little(1), Little(10), name, {'V', 0}}), {{L"N", L"V"}}},
        {"odd rest of a value", Join({Little(1), Little(11), name, {'V', 0, 7}}), {{L"N", L"V"}}},
        // A size that does not count itself: only the zero ends the name.
        {"size 0", Join({Little(2), Little(0), {'N', 0, 'M', 0, 0, 0}, good}), {{L"NM", L""}}},
        {"size 3, unterminated", Join({Little(1), Little(3), {'N', 0, 'M'}}), {{L"N", L""}}},
        {"surrogates",
         Join({Little(1), Little(12), {0x3C, 0xD8, 0xB5, 0xDF, 0, 0, 0, 0}}),
         {{L"\xD83C\xDFB5", L""}}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Content(Decoded(row.blob)), row.items) << row.what;
    NTag tags = List(one);
    tags.InitFromRawMemory(nullptr, 100);
    EXPECT_EQ(tags.Count(), 0);
    tags = List(one);
    tags.InitFromRawMemory(good.data(), -1);
    EXPECT_EQ(tags.Count(), 0);
}

TEST(TagBlob, Utf8StringsEndWithTheBlob)
{
    const Bytes good = Join({Little(10), Text(std::string("T\0Abc\0", 6))});
    EXPECT_EQ(Content(Decoded(Join({Little(2), good, good}), true)),
              (Items{{L"T", L"Abc"}, {L"T", L"Abc"}}));
    // A name runs over the end of its item; the list ends there.
    EXPECT_EQ(Content(Decoded(Join({Little(2), Little(6), Text("abc"), {0}, good}), true)),
              (Items{{L"abc", L""}}));
    EXPECT_EQ(Content(Decoded(Join({Little(1), Little(7), Text("abc")}), true)),
              (Items{{L"abc", L""}}));
    EXPECT_EQ(Content(Decoded(Join({Little(1), Little(8), Text("a"), {0}, Text("bc")}), true)),
              (Items{{L"a", L"bc"}}));
}

TEST(TagBlob, EveryCutIsHarmless)
{
    NTag tags = List({{L"Title", L"Abc"}, {L"Artist", L"\u20AC"}});
    tags.AddTag(L"_albumart_1_Media", "abcd", 4);
    for (const bool utf8 : {false, true}) {
        const Bytes whole = Encoded(tags, utf8);
        for (size_t size = 0; size <= whole.size(); ++size) {
            const NTag cut = Decoded(Bytes(whole.begin(), whole.begin() + ptrdiff_t(size)), utf8);
            for (long i = 0; i < cut.Count(); ++i)
                EXPECT_EQ(cut[i].name, tags[i].name) << size;
            EXPECT_EQ(cut.Count() == 3, size == whole.size()) << size;
        }
    }
}

// --- Names of pictures, track numbers ------------------------------------------------------

TEST(AlbumArt, NamesStandForPictureTypes)
{
    const char* const names[] = {"",
                                 "32x32 Icon",
                                 "Other Icon",
                                 "Front Album Cover",
                                 "Back Album Cover",
                                 "Leaflet Page",
                                 "Media",
                                 "Lead Artist",
                                 "Artist",
                                 "Conductor",
                                 "Band",
                                 "Composer",
                                 "Writer",
                                 "Recording Location",
                                 "During Recording",
                                 "During Performance",
                                 "Video Capture",
                                 "",
                                 "Illustration",
                                 "Artist Logo",
                                 "Publisher Logo"};
    for (int type = 0; type <= 20; ++type) {
        const XStr name = FromUtf8(names[type]);
        EXPECT_EQ(NTag::AlbumArtAPICPicTypeToElementDescription(type),
                  name.empty() ? L"" : L"_" + name);
        EXPECT_EQ(NTag::AlbumArtDescriptionToAPICPicType(name), name.empty() ? 3 : type);
    }
    for (const int type : {-1, 21, 1000})
        EXPECT_EQ(NTag::AlbumArtAPICPicTypeToElementDescription(type), L"");
    EXPECT_EQ(NTag::AlbumArtDescriptionToAPICPicType(L"MEDIA"), 6);
    EXPECT_EQ(NTag::AlbumArtDescriptionToAPICPicType(L"_Media"), 3);
    EXPECT_EQ(NTag::AlbumArtDescriptionToAPICPicType(L"Media "), 3);
}

TEST(AlbumArt, ItemNamesAreSplit)
{
    const auto split = [](const XStr& line) {
        XStr description = L"old", sub = L"old";
        NTag::SpiltAlbumArtDesctiptionLine(line, description, sub);
        return description + L"|" + sub;
    };
    EXPECT_EQ(split(L"_albumart_1_Media"), L"Media|");
    EXPECT_EQ(split(L"_albumart_12_Media<subdesc>a<subdesc>b"), L"Media|a<subdesc>b");
    EXPECT_EQ(split(L"_albumart_1_Media_x<SUBDESC>"), L"Media_x<SUBDESC>|");
    EXPECT_EQ(split(L"_albumart_1_<subdesc>"), L"|");
    EXPECT_EQ(split(L"_albumart_1"), L"|");
    EXPECT_EQ(split(L""), L"|");
    NTag tags =
        List({{L"Title", L""}, {L"_AlbumArt_12_Band", L""}, {L"_albumart_1_Media<subdesc>s", L""}});
    XStr description, sub;
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
        EXPECT_EQ(List({{L"Track", value}}).PaddedTrackNum(L"track"), padded) << ToUtf8(value);
    EXPECT_EQ(NTag().PaddedTrackNum(L"Track"), L"");
    XStr track, count;
    NTag::SplitTrackNumANDCountStr(L" 3 / 12 ", track, count);
    EXPECT_EQ(track + L"|" + count, L" 3 |12");
    NTag::SplitTrackNumANDCountStr(L"3", track, count);
    EXPECT_EQ(track + L"|" + count, L"3|");
}

} // namespace
