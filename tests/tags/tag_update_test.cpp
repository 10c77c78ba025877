// SPDX-License-Identifier: MIT
#include "TagBuilder.h"

#include <gtest/gtest.h>

namespace
{

const std::string kPriv = "PRIV=owner~\xFF\xE0~", kGeob = "GEOB:application/x~f~d~data";
const std::string kNewRating = "POPM=Windows Media Player 9 Series~";

// The frames before, what the list says, and the frames after.
using Change = std::tuple<std::string, const wchar_t*, std::string>;

std::string After(const std::string& before, const XStr& list, const Options& options,
                  bool remove = false)
{
    return ContentOf(Update({Tag(3, before)}, ListOf(list), options, remove));
}

TEST(TagUpdate, ChangesWhatIsAskedAndNothingElse)
{
    const std::string hidden = "TIT2=\7|TIT2[0020]=x|";
    const std::string sealed = "PRIV[0080]=~~~\1zz|TXXX[2040]=ab|GEOB[0020]=c";
    const std::string fullDate = "TYER:2004|TDAT:1503|TIME:1200";
    const Change rows[] = {
        // Frames that no field represents stay, after the others.
        Change(kPriv + "|TIT2:a|" + kGeob, L"Title=b", "TIT2^b|" + kPriv + "|" + kGeob),
        // What is not named stays as it is, and so does what gets an equal value.
        Change(kPriv + "|TALB:x/y~z", L"Title=b", "TIT2^b|TALB:x/y~z|" + kPriv),
        Change("TIT2:a~second", L"title=a", "TIT2:a~second"),
        Change("COMM:deu~a|COMM:fra~b", L"Comment=b", "COMM:fra~b"),
        Change("USLT:deud~a", L"Lyrics=a;Title=t", "TIT2^t|USLT:deud~a"),
        Change(fullDate, L"Year=2004-03-15", fullDate),
        Change("TYER:2004|TDAT:1503", L"Year=2005", "TYER:2005~"),
        Change("TIT2:a", L"TagVersion=ID3v2.3", "TIT2:a"),
        // An empty value removes, but leaves a frame that was empty.
        Change("TIT2:a|" + kPriv, L"Title=", kPriv), Change("TIT2:", L"Title=", "TIT2:"),
        // Frames that cannot be read, though a field is theirs, stay in place until it is set.
        Change(hidden + kPriv, L"Album=b", "TALB^b|" + hidden + kPriv),
        Change("W000=x|TIT2[0020]=x|TIT2:a|UFID=u", L"Album=b",
               "TIT2:a|TALB^b|W000=x|TIT2[0020]=x|UFID=u"),
        Change(hidden + kPriv, L"Title=b", "TIT2^b|" + kPriv),
        // Compressed, encrypted and grouped frames stay, and names of ID3v2.2.
        Change(sealed, L"Title=b", "TIT2^b|" + sealed),
        Change("XYZ~=x|TT2~:a|ULT~:engd~l", L"Album=b", "TIT2:a|TALB^b|USLT:engd~l|XYZ~=x"),
        // A play counter stays with the rating, and without one.
        Change("POPM=me~\x80~~~\5", L"Rating=6", "POPM=me~\x80~~~\5"),
        Change("POPM=me~\x80\5|POPM=you~\xFF|POPM=no~~\7", L"Rating=5",
               "POPM=me~\x80\5|POPM=you~\x60|POPM=no~~\7"),
        Change("POPM=no~~\7", L"Title=b", "TIT2^b|POPM=no~~\7"),
        // User text under the name of a field, under decorated and translated names.
        Change("TXXX:Title~x|TIT2:a", L"Title=x", "TIT2^x"),
        Change("TXXX:k[1]~a|TXXX:k[2]~b", L"k=a\rc", "TXXX:k[1]~a|TXXX^k^c"),
        Change("TXXX:ITUNNORM~a", L"ITUNNORM=a", "TXXX:ITUNNORM~a")};
    for (const auto& [before, list, after] : rows)
        for (const std::string& frames : {before, after}) // doing it again changes nothing
            EXPECT_EQ(After(frames, list, {L"ID3v2EncodeUni"}), Frames(3, after)) << before;
    const Change once[] = {Change("TPE1:a|TXXX:Artist[2]~x", L"Artist[2]=y",
                                  "TPE1:a|TXXX:Artist[2]~x|TXXX^Artist[2]^y"),
                           // A name that reads as another.
                           Change("TXXX:Commentary~a", L"Commentary=b", "COMM^ary^b")};
    for (const auto& [before, list, after] : once)
        EXPECT_EQ(After(before, list, {L"ID3v2EncodeUni"}), Frames(3, after)) << before;
    const Change removals[] = {
        Change("TIT2:a|TALB:b", L"TITLE=whatever", "TALB:b"),
        Change(hidden + kPriv, L"Title=", kPriv),
        // What is not there, internal, or of a decorated name.
        Change("TIT2:a", L"Album=", "TIT2:a"), Change("TXXX:_x~a", L"_x=", "TXXX:_x~a"),
        Change("TPE1:a|TXXX:Artist[2]~x", L"Artist[2]=", "TPE1:a|TXXX:Artist[2]~x")};
    for (const auto& [before, list, after] : removals)
        EXPECT_EQ(After(before, list, {}, true), Frames(3, after)) << before;
}

TEST(TagUpdate, NewerTagsKeepTheirFramesAndFlags)
{
    const std::string kept =
        "PRIV[1000]=x|TIT3[0040]=gx|GEOB[0001]=~~~\1z|UFID[0003]=~~~\2\xFF~\xE1";
    const NTag title = ListOf(L"Title=b");
    const std::string all = kept + "|MCDI=\xFF~", written = "TIT2:b~|";
    EXPECT_EQ(ContentOf(Update({Tag(4, all, 0x80)}, title, {})), Frames(4, written + all));
    // The header says now that frames may be unsynchronised: make it true.
    EXPECT_EQ(ContentOf(Update({Tag(4, all + "|PRIV=\xFF")}, title, {})),
              Frames(4, written + kept + "|MCDI[0003]=~~~\2\xFF~~|PRIV[0003]=~~~\1\xFF~"));
    // Also where other data comes before the body, and in new frames.
    EXPECT_EQ(ContentOf(Update({Tag(4, "GEOB[0040]=g\xFF~|APIC[0001]=~~~\5~~\4~\xFF")}, title, {})),
              Frames(4, written + "GEOB[0042]=g\xFF~~|APIC[0003]=~~~\5~~\4~\xFF~"));
    // A size that would reach beyond the tag if it were plain is not taken for plain.
    const std::string open = "PRIV[0003]=~~~\1" + std::string(124, 'a');
    const Bytes tag = Update({TagOf(4, Frames(4, open) + "\0garbage"s, 0x80)}, title, {});
    EXPECT_EQ(ContentOf(tag), Frames(4, written + open));
    EXPECT_EQ(Read(tag), L"Title=b;");
    // Reading takes the end of the tag for the end of an unsynchronised frame.
    EXPECT_EQ(ContentOf(Update({TagOf(4, Frames(4, "PRIV[0002]=abcd"), 0x80, 12)}, title, {})),
              Frames(4, written + "PRIV[0002]=ab"));
}

TEST(TagUpdate, AnOlderTagBecomesID3v23)
{
    // ID3v2.2 does not have the encoding of the last picture.
    const Bytes tag = Tag(2, "TT2:a|COM:deu~c|TYE:2004|TDA:1503|GEO=odd|ULT:engd~l|"
                             "TP1=\3\xC3\xA9|TCO:(4)Euro;5|PIC:PNG\4~pic|PIC=\2PNG\3~pic");
    EXPECT_EQ(Update({tag}, ListOf(L"Album=b;Year=2004")),
              Tag(3, "TIT2:a|TALB^b|USLT:engd~l|TCON:(4)Euro;5|TYER:2004|TDAT:1503|"
                     "TPE1=\1\xFF\xFE\xE9~~~|COMM:deu~c|GEOB=odd|"
                     "APIC:image/png~\4~pic|APIC=\2image/png~\3~pic"));
}

TEST(TagUpdate, AnUnsynchronisedTagIsCarriedOverAsItWasBefore)
{
    const std::string binary = "\xFF\xE0\xFF~\xFF~~ \xFF\xFF";
    const std::string kept = "PRIV=" + binary + "|TXXX[8080]=" + binary + "|GEOB[0020]=g" + binary;
    const NTag title = ListOf(L"Title=b");
    const std::string content = Unsynchronised(Frames(3, "TIT2:a|" + kept));
    EXPECT_EQ(ContentOf(Update({TagOf(3, content, 0x80)}, title)), Frames(3, "TIT2^b|" + kept));
    const std::string older = Unsynchronised(Frames(2, "TT2:a|GEO=" + binary));
    EXPECT_EQ(ContentOf(Update({TagOf(2, older, 0x80)}, title)),
              Frames(3, "TIT2^b|GEOB=" + binary));
    // Whether reading gets past a fault of the unsynchronisation decides what the tag may
    // become: it stumbles at what it looks at only.
    const std::pair<std::string, int> rows[] = {
        {content, 3},
        {content + "\0\0\0\0\xFF\xE0"s, 3}, // beyond the padding's first bytes
        {content + "\0\0\0\xFF\xE0"s, 4},
        {content + "\0\0\0\xFF"s, 4},
        {Frames(3, "TIT2:a|PRIV=\xFF\xE0\xFF"), 4},
        {Frames(3, "PRIV[0040]=\xFF\xE0"), 4}}; // in a frame that is passed over
    for (const auto& [bytes, version] : rows)
        EXPECT_EQ(Update({TagOf(3, bytes, 0x80)}, title, {L"ID3v2WriteV24"})[3], version);
}

// Read as plain sizes the first large frame would swallow the next one exactly.
TEST(TagUpdate, AFrameWithAnOddNameDoesNotChangeHowSizesAreRead)
{
    const std::string frames = "GEOB=" + std::string(128, 'g') + "|priv=" + std::string(118, 'p');
    const NTag rating = ListOf(L"Rating=5");
    const std::string written = kNewRating + "\x60|";
    EXPECT_EQ(ContentOf(Update({Tag(4, frames)}, rating)), Frames(4, written + frames));
    // So it would here, with what follows the padding.
    const std::string odd = "priv=" + std::string(128, 'p') + "|GEOB=" + std::string(110, 'g');
    EXPECT_EQ(ContentOf(Update({TagOf(4, Frames(4, odd) + "\0garbage"s)}, rating)),
              Frames(4, written + odd));
}

// A reader gives the whole tag up at a frame of 64 MiB.
TEST(TagUpdate, AFrameThatNoReaderTakesIsRefused)
{
    const size_t head = Frames(3, "APIC=~image/jpeg~\3~").size() - 10;
    for (const size_t body : {0x3FFFFFFu, 0x4000000u}) {
        NTag list;
        list.AddTag(L"_albumart_1_Front Album Cover", Bytes(body - head, 1).data(), body - head);
        EXPECT_EQ(Update({}, list, {}).size(), body < 0x4000000u ? 10 + 10 + body : 0);
    }
}

TEST(TagUpdate, FramesOfADamagedTagAreRescued)
{
    const std::string body(200, 'p'), priv = "|PRIV=" + body, geob = "|GEOB=" + body;
    const std::string sizes = Frames(3, priv.substr(1) + "|TIT2:a" + geob);
    const std::string zip = "TALB[0009]=~~~\5zipzip", ufid = "|UFID[0001]=~~~\1u|TIT3[1000]:r";
    const Bytes zipped = Tag(4, "TIT2:a|" + zip + priv + ufid);
    const Bytes flagged = Tag(3, "TIT2:a" + geob, 0x10); // a header flag that nobody knows
    const std::string wide = "TIT2^a|TPE1^b", kept = "TIT2:a|TPE1^b", kept4 = "TIT2:a|TPE1:b~";
    using Row = std::tuple<Bytes, int, std::string>;
    const Row rows[] = {
        // A frame that no reader gets past would hide the others: it is passed over.
        Row(zipped, 4, kept4 + "|TALB[1009]=~~~\5zipzip" + priv + ufid),
        Row(Tag(4, "TIT2:a|TMCL=\3x~y|APIC[0002]:i~\3~\xFF\xE0", 0x80), 4,
            "TIT2:a|TMCL=\3x~y|TPE1:b~|APIC[1002]:i~\3~\xFF\xE0"),
        Row(TagOf(4, sizes), 4, kept4 + priv + geob), // plain sizes
        Row(TagOf(4, Frames(3, "TIT2:a|priv=" + body + geob)), 4, kept4),
        // An extended header is announced, but missing or too short.
        Row(Tag(4, "TIT2:a" + priv, 0x40), 4, kept4 + priv),
        Row(Tag(3, "TIT2:a" + geob, 0x40), 3, kept + geob),
        Row(TagOf(4, "\0\0\0\5x"s + Frames(4, "TIT2:a" + priv), 0x40), 4, kept4 + priv),
        Row(TagOf(4, "\0\0\0\5lost"s, 0x40), 4, "no tag"), Row(Tag(5, "TIT2:a"), 3, "no tag"),
        Row(TagOf(3, Frames(3, kPriv + "|TIT2:a" + geob), 0, 100), 3, kept + "|" + kPriv),
        Row(flagged, 3, kept + geob), Row(flagged, 4, kept4 + geob),
        Row(Tag(3, "TIT2:a" + geob + "|priv=x|PRIV=y", 0x10), 3, kept + geob),
        Row(Text("no tag at all"), 3, "TPE1^b")};
    for (const auto& [tag, version, after] : rows) {
        const wchar_t* revision = tag[3] == 3 && version == 4 ? L"ID3v2WriteV24" : L"";
        const Options options = {version == 4 ? revision : L"ID3v2EncodeUni"};
        EXPECT_EQ(Read(tag), L"damaged") << after;
        EXPECT_EQ(ContentOf(Update({tag}, ListOf(L"Artist=b"), options)),
                  after == "no tag" ? after : Frames(version, after));
    }
}

TEST(TagUpdate, SeveralTagsBecomeOne)
{
    const Bytes first = Tag(3, "TIT2:1|" + kPriv + "|COMM:eng~c1|POPM=a~\x80");
    const Bytes second = Tag(3, "TIT2:2|TALB:2|" + kPriv + "|" + kGeob + "|COMM:engd~c2");
    const Bytes tag = Update({first, second}, ListOf(L"Artist=b"));
    EXPECT_EQ(ContentOf(tag),
              Frames(3, "TIT2:1|TALB:2|TPE1^b|POPM=a~\x80|COMM:eng~c1|COMM:engd~c2|" + kPriv + "|" +
                            kGeob));
    // What reading shows of both is what the new tag shows.
    NTag shown, list;
    ASSERT_TRUE(ReadTagList(first, shown) && ReadTagList(second, list));
    shown.MergeFrom(list, false);
    ASSERT_TRUE(ReadTagList(tag, list));
    for (long i = 0; i < shown.Count(); ++i)
        EXPECT_EQ(list.GetTagValue(shown[i].name), shown[i].value);

    // ID3v2.4 holds what the others do.
    const std::string newer = "TIT2=\3\xC3\xA9|COMM=\3deu~\xC3\xA9|",
                      rest = "PRIV[4000]=p|UFID[0001]=~~~\1u";
    EXPECT_EQ(ContentOf(Update({Tag(4, newer + rest, 0x80), Tag(3, "TALB:2|WPAY=u")}, {}, {})),
              Frames(4, "TIT2=\3\xC3\xA9|TALB:2|WPAY=u|COMM=\3deu~\xC3\xA9|" + rest));
    EXPECT_EQ(Update({Tag(3, "PRIV[8000]=p"), Tag(4, "TALB:2")}, {}),
              Tag(4, "TALB:2|PRIV[4000]=p", 0x80));
    // What tells of a flag comes before the body in another order.
    EXPECT_EQ(Update({Tag(3, "TPE1[0080]=~~~\3zip|PRIV[80E0]=~~~\4mgx"), Tag(4, "TALB:2")}, {}),
              Tag(4, "TALB:2|TPE1[1009]=~~~\3zip|PRIV[404D]=gm~~~\4x", 0x80));
    // Genres are a string each, and mean the same.
    const std::pair<std::string, std::string> genres[] = {
        {"TCON:(17); 8;;((x;(4)Euro;(RX);(200) ;Own", "TCON=\00317~8~((x~(4)Euro~(RX)~(200)~Own~"},
        {"TCON=\1" + Utf16(u"(17);\x416"), "TCON[0003]=~~~\xF\1\xFF~\xFE"
                                           "1~7~~~\xFF~\xFE\x16\4~~"},
        {"TCON=\3\xE9;(0)", "TCON=\3\xC3\xA9~0~"}};
    for (const auto& [old, strings] : genres) {
        const Bytes lone = Tag(3, old), merged = Update({lone, Tag(4, "TENC:2")}, {});
        EXPECT_EQ(ContentOf(merged), Frames(4, "TENC:2|" + strings));
        EXPECT_EQ(Read(merged), Read(Update({lone}, ListOf(L"Encoded by=2"))));
    }
}

TEST(TagUpdate, FramesThatNoLaterTagHoldsAreNamed)
{
    const Bytes old = Tag(2, "LNK=TT2u|LNK=ABCu|CRM=c|XY!=x|PIC=PNG");
    const std::span<const uint8_t> tags[] = {old};
    const NTag none;
    const TagUpdate update({}, tags, none, TagUpdate::Task::Set);
    EXPECT_EQ(update.LeftOut(), "APIC, CRM, LINK, XY?");
    EXPECT_EQ(ContentOf(Update({old}, none)), Frames(3, "LINK=TIT2u"));
}

const std::string kFront = "APIC:image/x~\3one~front|", kFront2 = "APIC:image/x~\3two~front2|",
                  kBack = "APIC:image/x~\4~back|", kFish = "APIC:image/x~\x11~fish|";

TEST(TagUpdate, PicturesAreReplacedByType)
{
    const std::string newFront = "APIC:image/jpeg~\3~newfront|", fronts = kFront + kFront2;
    const XStr cover = L"_albumart_1_Front Album Cover", back = L"_albumart_2_Back Album Cover",
               odd = L"_albumart_4_", sub = L"<subdesc>";
    using Row = std::pair<XStr, std::string>;
    const Row rows[] = {
        Row(L"", fronts + kBack + kFish), Row(cover + L"=newfront", newFront + kBack + kFish),
        // Equal ones stay, in the order of the list.
        Row(back + L"=back;" + cover + sub + L"two=front2;" + cover + sub + L"one=front",
            kFront2 + kFront + kFish + kBack),
        Row(cover + sub + L"one=front;" + cover + L"=newfront", kFront + newFront + kBack + kFish),
        Row(cover + sub + L"d=front", "APIC:~\3d~front|" + kBack + kFish),
        Row(back + L"=", fronts + kFish),
        // A type without a name, and one that nobody knows.
        Row(odd + L"Undefined=fish", fronts + kBack + kFish),
        Row(odd + L"Undefined=seafood!", fronts + kBack + "APIC:image/jpeg~~~seafood!"),
        Row(odd + L"whatever=\x89PNG....", "APIC:image/png~\3~\x89PNG....|" + kBack + kFish),
        // Data too small to show its format; a description beyond ASCII.
        Row(back + L"=\x89PNG...", fronts + kFish + "APIC:~\4~\x89PNG..."),
        Row(back + sub + L"\u00E9=back",
            fronts + kFish + "APIC=\1~\4" + Utf16(u"\u00E9") + "back")};
    const std::string old = kBack + kFront + kFish + kFront2;
    for (const auto& [list, after] : rows)
        EXPECT_EQ(After(old, list, {}), Frames(3, after)) << ToUtf8(list);
    EXPECT_EQ(After(old, L"_albumart_9_front album cover=", {}, true), Frames(3, kBack + kFish));
}

// The list as the host gets it and gives it back.
TEST(TagUpdate, AListWrittenBackHarmsNothing)
{
    const std::string grin = "\xF0\x9F\x98\x80", cut = "\xF0\x90\x80\x80"; // U+10000 is cut to 0
    const Bytes tags[] = {
        Tag(4,
            "TIT2=\3" + grin + "|TALB=\3a" + cut + "b|TXXX=\3" + grin +
                "k~v~w|APIC=\3image/png~\3" + grin +
                "\xC3\xA9~data|APIC:x~\x11~fish|"
                "TPE1=\3a~~b|TDRC:2004-03-15T12:00|TXXX=\3Year[2]~x|PRIV=\xFF\xE0",
            0x80),
        Tag(3, "TYER:c. 1970|TCON:(17)(8)|TXXX:content group description~x|"
               "TXXX:TagVersion~mine|TXXX:Comment~x|COMM:eng~x|" +
                   kFish + kBack + "TXXX:[1]~x|APIC:image/y~\4~back|TIT2=\1" + Utf16(u"\xD800"))};
    for (const Bytes& tag : tags) {
        NTag list;
        ASSERT_TRUE(ReadTagList(tag, list));
        const Bytes back = Update({tag}, Decoded(Encoded(list)));
        EXPECT_EQ(back.size(), tag.size()) << testing::PrintToString(S(back));
        EXPECT_EQ(Read(back), Read(tag));
        EXPECT_EQ(Update({back}, Decoded(Encoded(list))), back);
    }
}

TEST(TagUpdate, WritesMoreValuesThanReadersTakeFromOneFrame)
{
    XStr many = L"0";
    for (int i = 1; i < 3000; ++i)
        many += L"\r" + std::to_wstring(i);
    const XStr crowd = L"Artist=" + many + L";k=" + many + L";";
    EXPECT_EQ(Read(Update({}, ListOf(crowd), {L"ID3v2WriteV24"})), crowd);
}

} // namespace
