#include "TagBuilder.h"
#include "tags/id3parser/frames/Serialize.h"

#include <gtest/gtest.h>

using namespace aiff;

namespace
{

const std::string kPriv = "PRIV=owner\0\xFF\xE0\0"s, kGeob = "GEOB:application/x\0f\0d\0data"s;

TEST(TagUpdate, ChangesWhatIsAskedAndNothingElse)
{
    struct Row {
        const char* name;
        std::string before;
        const wchar_t* list;
        std::string after;
        bool remove = false, again = !remove;
    };
    const std::string hidden = "TIT2=\7|TIT2[0020]=x|", sealed = "PRIV[0080]=\0\0\0\1zz|"
                                                                 "TXXX[2040]=ab|GEOB[0020]=c"s;
    const std::string fullDate = "TYER:2004|TDAT:1503|TIME:1200";
    const Row rows[] = {
        {"unknown frames stay, behind", kPriv + "|TIT2:a|" + kGeob, L"Title=b",
         "TIT2^b|" + kPriv + "|" + kGeob},
        {"what is not named stays as it is", kPriv + "|TALB:x/y\0z"s, L"Title=b",
         "TIT2^b|TALB:x/y\0z|"s + kPriv},
        {"an equal value stays as it is", "TIT2:a\0second"s, L"title=a", "TIT2:a\0second"s},
        {"an empty value removes", "TIT2:a|" + kPriv, L"Title=", kPriv},
        {"an empty value stays where it was empty", "TIT2:", L"Title=", "TIT2:"},
        {"delete", "TIT2:a|TALB:b", L"TITLE=whatever", "TALB:b", true},
        {"delete what is not there", "TIT2:a", L"Album=", "TIT2:a", true},
        {"delete internal fields and nothing", "TXXX:_x\0a"s, L"_x=", "TXXX:_x\0a"s, true},
        {"malformed and hidden frames of a field", hidden + kPriv, L"Album=b",
         "TALB^b|" + hidden + kPriv},
        {"they stay where they stood", "W000=x|TIT2[0020]=x|TIT2:a|UFID=u", L"Album=b",
         "TIT2:a|TALB^b|W000=x|TIT2[0020]=x|UFID=u"},
        {"they go when the field is set", hidden + kPriv, L"Title=b", "TIT2^b|" + kPriv},
        {"or removed", hidden + kPriv, L"Title=", kPriv, true},
        {"compressed, encrypted and grouped frames stay", sealed, L"Title=b", "TIT2^b|" + sealed},
        {"no frame without identifier", "XYZ\0=x|TT2\0:a"s, L"Album=b", "TIT2:a|TALB^b"},
        {"language of a comment", "COMM:deu\0a|COMM:fra\0b"s, L"Comment=b", "COMM:fra\0b"s},
        {"language of lyrics", "USLT:deud\0a"s, L"Lyrics=a;Title=t", "TIT2^t|USLT:deud\0a"s},
        {"play counter", "POPM=me\0\x80\0\0\0\5"s, L"Rating=6", "POPM=me\0\x80\0\0\0\5"s},
        {"a new rating replaces all", "POPM=me\0\x80\5|POPM=you\0\xFF|POPM=no\0\0\7"s, L"Rating=5",
         "POPM=Windows Media Player 9 Series\0\x60|POPM=no\0\0\7"s},
        {"a play counter without rating stays", "POPM=no\0\0\7"s, L"Title=b",
         "TIT2^b|POPM=no\0\0\7"s},
        {"full date survives", fullDate, L"Year=2004-03-15", fullDate},
        {"new year replaces the date", "TYER:2004|TDAT:1503", L"Year=2005", "TYER:2005\0"s},
        {"same description, other kind", "TXXX:Title\0x|TIT2:a"s, L"Title=x", "TIT2^x"},
        {"decorated names", "TXXX:k[1]\0a|TXXX:k[2]\0b"s, L"k=a\rc", "TXXX:k[1]\0a|TXXX^k^c"s},
        {"a decorated name is one of its own", "TPE1:a|TXXX:Artist[2]\0x"s, L"Artist[2]=y",
         "TPE1:a|TXXX:Artist[2]\0x|TXXX^Artist[2]^y"s, false, false},
        {"and shows no field to remove", "TPE1:a|TXXX:Artist[2]\0x"s, L"Artist[2]=",
         "TPE1:a|TXXX:Artist[2]\0x"s, true},
        {"name that reads as another", "TXXX:Commentary\0a"s, L"Commentary=b", "COMM^ary^b", false,
         false},
        {"translated name, equal value", "TXXX:ITUNNORM\0a"s, L"ITUNNORM=a", "TXXX:ITUNNORM\0a"s},
        {"version is no field", "TIT2:a", L"TagVersion=ID3v2.3", "TIT2:a"},
    };
    for (const Row& row : rows) {
        const Options unicode = {L"ID3v2EncodeUni"};
        const Bytes once = Update({Tag(3, row.before)}, ListOf(row.list), unicode, row.remove);
        EXPECT_EQ(ContentOf(once), Frames(3, row.after)) << row.name;
        if (row.again)
            EXPECT_EQ(Update({once}, ListOf(row.list)), once) << row.name;
    }
}

TEST(TagUpdate, NewerTagsKeepTheirFramesAndFlags)
{
    const std::string kept = "PRIV[1000]=x|TIT3[0040]=gx|GEOB[0001]=\0\0\0\1z|"
                             "UFID[0003]=\0\0\0\2\xFF\0\xE1"s;
    const NTag title = ListOf(L"Title=b");
    const std::string all = kept + "|MCDI=\xFF\0"s, written = "TIT2:b\0|"s;
    EXPECT_EQ(ContentOf(Update({Tag(4, all, 0x80)}, title, {})), Frames(4, written + all));
    // The header says now that frames may be unsynchronised: make it true.
    EXPECT_EQ(ContentOf(Update({Tag(4, all + "|PRIV=\xFF")}, title, {})),
              Frames(4, written + kept +
                            "|MCDI[0003]=\0\0\0\2\xFF\0\0|"s
                            "PRIV[0003]=\0\0\0\1\xFF\0"s));
    // A size that would reach beyond the tag if it were plain is not taken for plain.
    const std::string open = "PRIV[0003]=\0\0\0\1"s + std::string(124, 'a');
    const Bytes tag = Update({TagOf(4, Frames(4, open) + "\0garbage"s, 0x80)}, title, {});
    EXPECT_EQ(ContentOf(tag), Frames(4, written + open));
    // Reading takes the end of the tag for the end of an unsynchronised frame.
    EXPECT_EQ(ContentOf(Update({TagOf(4, Frames(4, "PRIV[0002]=abcd"), 0x80, 12)}, title, {})),
              Frames(4, written + "PRIV[0002]=ab"));
    EXPECT_EQ(Read(tag), L"Title=b;");
}

TEST(TagUpdate, AnOlderTagBecomesID3v23)
{
    const Bytes tag =
        Update({Tag(2, "TT2:a|COM:deu\0c|TYE:2004|TDA:1503|GEO=odd|ULT:engd\0l|PIC:PNG\4\0pic"s)},
               ListOf(L"Album=b"));
    EXPECT_EQ(tag[3], 3);
    EXPECT_EQ(
        ContentOf(tag),
        Frames(
            3,
            "TIT2^a|TALB^b|USLT:engd\0l|TYER:2004\0|COMM:deu\0c|GEOB=odd|APIC:image/png\0\4\0pic"s));
}

// A 0 for every 0xFF that is followed by one, by a byte from 0xE0 on, or by nothing.
std::string Unsynchronised(const std::string& bytes)
{
    id3parser::streamInMem in(bytes.data(), bytes.size());
    id3parser::streamOutBuffer out;
    id3parser::unsync(in, out);
    return S(out.bytes);
}

TEST(TagUpdate, AnUnsynchronisedTagIsCarriedOverAsItWasBefore)
{
    const std::string binary = "\xFF\xE0\xFF\0\xFF\0\0 \xFF\xFF"s;
    const std::string kept = "PRIV=" + binary + "|TXXX[8080]=" + binary + "|GEOB[0020]=g" + binary;
    const NTag title = ListOf(L"Title=b");
    const std::string content = Unsynchronised(Frames(3, "TIT2:a|" + kept));
    EXPECT_EQ(ContentOf(Update({TagOf(3, content, 0x80)}, title)), Frames(3, "TIT2^b|" + kept));
    const std::string older = Unsynchronised(Frames(2, "TT2:a|GEO=" + binary));
    EXPECT_EQ(ContentOf(Update({TagOf(2, older, 0x80)}, title)),
              Frames(3, "TIT2^b|GEOB=" + binary));
    // Whether reading gets past a fault of the unsynchronisation decides what the tag may
    // become: it stumbles at what it looks at only.
    const std::tuple<const char*, std::string, int> rows[] = {
        {"sound", content, 3},
        {"a fault beyond the padding's first bytes", content + "\0\0\0\0\xFF\xE0"s, 3},
        {"a fault within them", content + "\0\0\0\xFF\xE0"s, 4},
        {"a lone 0xFF at the end", content + "\0\0\0\xFF"s, 4},
        {"a fault in a frame", Frames(3, "TIT2:a|PRIV=\xFF\xE0\xFF"), 4},
        {"a fault in a frame that is passed over", Frames(3, "PRIV[0040]=\xFF\xE0"), 4}};
    for (const auto& [name, bytes, version] : rows)
        EXPECT_EQ(Update({TagOf(3, bytes, 0x80)}, title, {L"ID3v2WriteV24"})[3], version) << name;
}

// Read as plain sizes the first large frame would swallow the next one exactly.
TEST(TagUpdate, AFrameWithAnOddNameDoesNotChangeHowSizesAreRead)
{
    const std::string frames = "GEOB=" + std::string(128, 'g') + "|priv=" + std::string(118, 'p');
    const NTag rating = ListOf(L"Rating=5");
    const std::string written = "POPM=Windows Media Player 9 Series\0\x60|"s;
    EXPECT_EQ(ContentOf(Update({Tag(4, frames)}, rating)), Frames(4, written + frames));
    // So it would here, with what follows the padding.
    const std::string odd = "priv=" + std::string(128, 'p') + "|GEOB=" + std::string(110, 'g');
    EXPECT_EQ(ContentOf(Update({TagOf(4, Frames(4, odd) + "\0garbage"s)}, rating)),
              Frames(4, written + odd));
}

// A reader gives the whole tag up at a frame of 64 MiB.
TEST(TagUpdate, AFrameThatNoReaderTakesIsRefused)
{
    const size_t head = Frames(3, "APIC=\0image/jpeg\0\3\0"s).size() - 10;
    for (const size_t body : {0x3FFFFFFu, 0x4000000u}) {
        NTag list;
        list.AddTag(L"_albumart_1_Front Album Cover", Bytes(body - head, 1).data(), body - head);
        TagUpdate update(TagOptions(), {});
        update.Apply(list, TagUpdate::Task::Set);
        Bytes tag;
        EXPECT_EQ(update.Write(0, 0, 1, tag), body < 0x4000000u);
    }
}

TEST(TagUpdate, ADamagedOlderPictureIsNoNewerOne)
{
    EXPECT_EQ(ContentOf(Update({Tag(2, "TT2:a|PIC=\2PNG\3\0pic"s)}, ListOf(L"Album=b"))),
              Frames(3, "TIT2^a|TALB^b"));
}

TEST(TagUpdate, FramesOfADamagedTagAreRescued)
{
    const std::string body(200, 'p'), priv = "|PRIV=" + body, geob = "|GEOB=" + body;
    const std::string sizes = Frames(3, priv.substr(1) + "|TIT2:a" + geob);
    const std::string zipped =
        "TIT2:a|TALB[0009]=\0\0\0\5zipzip"s + priv + "|UFID[0001]=\0\0\0\1u|TIT3[1000]:r"s;
    const std::tuple<const char*, Bytes, int, std::string> rows[] = {
        {"compressed", Tag(4, zipped), 3,
         "TIT2^a|TPE1^b|TALB[0080]=\0\0\0\5zipzip"s + priv + "|UFID=u"},
        // A frame that no reader gets past would hide the others: it is passed over.
        {"compressed, kept in 2.4", Tag(4, zipped), 4,
         "TIT2:a|TPE1:b\0|TALB[1009]=\0\0\0\5zipzip"s + priv +
             "|UFID[0001]=\0\0\0\1u|TIT3[1000]:r"s},
        {"plain sizes", TagOf(4, sizes), 3, "TIT2^a|TPE1^b" + priv + geob},
        {"plain sizes, kept in 2.4", TagOf(4, sizes), 4, "TIT2:a|TPE1:b\0"s + priv + geob},
        {"cut", TagOf(3, Frames(3, kPriv + "|TIT2:a" + geob), 0, 100), 3, "TIT2:a|TPE1^b|" + kPriv},
        {"plain sizes and an odd name", TagOf(4, Frames(3, "TIT2:a|priv=" + body + geob)), 3,
         "TIT2^a|TPE1^b"},
        {"unknown header flag", Tag(3, "TIT2:a" + geob, 0x10), 3, "TIT2:a|TPE1^b" + geob},
        {"unknown header flag, to 2.4", Tag(3, "TIT2:a" + geob, 0x10), 4,
         "TIT2:a\0|TPE1:b\0"s + geob},
        {"unknown header flag and an odd name", Tag(3, "TIT2:a" + geob + "|priv=x|PRIV=y", 0x10), 3,
         "TIT2:a|TPE1^b" + geob},
        {"no tag", Text("no tag at all"), 3, "TPE1^b"},
    };
    for (const auto& [name, tag, version, after] : rows) {
        const Options options = {version == 4 ? L"ID3v2WriteV24" : L"ID3v2EncodeUni"};
        EXPECT_EQ(Read(tag), L"damaged") << name;
        EXPECT_EQ(ContentOf(Update({tag}, ListOf(L"Artist=b"), options)), Frames(version, after))
            << name;
    }
}

TEST(TagUpdate, SeveralTagsBecomeOne)
{
    const Bytes first = Tag(3, "TIT2:1|" + kPriv + "|COMM:eng\0c1|POPM=a\0\x80"s);
    const Bytes second = Tag(3, "TIT2:2|TALB:2|" + kPriv + "|" + kGeob + "|COMM:engd\0c2"s);
    const Bytes tag = Update({first, second}, ListOf(L"Artist=b"));
    EXPECT_EQ(ContentOf(tag),
              Frames(3, "TIT2:1|TALB:2|TPE1^b|POPM=a\0\x80|COMM:eng\0c1|COMM:engd\0c2|"s + kPriv +
                            "|" + kGeob));
    // What reading shows of both is what the new tag shows.
    NTag shown, list;
    ASSERT_TRUE(ReadTagList(first, shown) && ReadTagList(second, list));
    shown.MergeFrom(list, false);
    ASSERT_TRUE(ReadTagList(tag, list));
    for (long i = 0; i < shown.Count(); ++i)
        EXPECT_EQ(list.GetTagValue(shown[i].name), shown[i].value);

    // The revision is the last one's, also for what came from the first.
    const Bytes newer = Tag(4, "TIT2=\3\xC3\xA9|PRIV[4000]=p|COMM=\3deu\0\xC3\xA9|WPAY=u"s);
    EXPECT_EQ(ContentOf(Update({newer, Tag(3, "TALB:2")}, {})),
              Frames(3, "TIT2=\1" + Utf16(u"\u00E9") + "|TALB:2|WPAY=u|COMM=\1deu" + Utf16(u"") +
                            Utf16(u"\u00E9") + "|PRIV[8000]=p"));
    EXPECT_EQ(ContentOf(Update({Tag(3, "PRIV[8000]=p"), Tag(4, "TALB:2")}, {})),
              Frames(4, "TALB:2|PRIV[4000]=p"));
}

const std::string kFront = "APIC:image/x\0\3one\0front|"s,
                  kFront2 = "APIC:image/x\0\3two\0front2|"s, kBack = "APIC:image/x\0\4\0back|"s,
                  kFish = "APIC:image/x\0\x11\0fish|"s;

TEST(TagUpdate, PicturesAreReplacedByType)
{
    struct Row {
        const char* name;
        const wchar_t* list;
        std::string after;
        bool remove = false;
    };
    const std::string newFront = "APIC:image/jpeg\0\3\0newfront|"s;
    const Row rows[] = {
        {"none named", L"", kFront + kFront2 + kBack + kFish},
        {"one type", L"_albumart_1_Front Album Cover=newfront", newFront + kBack + kFish},
        {"equal ones stay",
         L"_albumart_2_Back Album Cover=back;_albumart_1_Front Album Cover<subdesc>two=front2;"
         L"_albumart_1_Front Album Cover<subdesc>one=front",
         kFront2 + kFront + kFish + kBack},
        {"one changed of two",
         L"_albumart_1_Front Album Cover<subdesc>one=front;_albumart_1_Front Album Cover=newfront",
         kFront + newFront + kBack + kFish},
        {"equal data, other description", L"_albumart_1_Front Album Cover<subdesc>1=front",
         "APIC:\0\3"
         "1\0front|"s +
             kBack + kFish},
        {"without data", L"_albumart_2_Back Album Cover=", kFront + kFront2 + kFish},
        {"removed by name", L"_albumart_9_front album cover=", kBack + kFish, true},
        {"type without a name", L"_albumart_4_Undefined=fish", kFront + kFront2 + kBack + kFish},
        {"type without a name, changed", L"_albumart_4_Undefined=seafood!",
         kFront + kFront2 + kBack + "APIC:image/jpeg\0\0\0seafood!"s},
        {"unknown type is a front cover", L"_albumart_4_whatever=\x89PNG....",
         "APIC:image/png\0\3\0\x89PNG....|"s + kBack + kFish},
        {"small data has no type", L"_albumart_2_Back Album Cover=\x89PNG...",
         kFront + kFront2 + kFish + "APIC:\0\4\0\x89PNG..."s},
        {"description beyond ASCII", L"_albumart_2_Back Album Cover<subdesc>\u00E9=back",
         kFront + kFront2 + kFish + "APIC=\1\0\4"s + Utf16(u"\u00E9") + "back"},
    };
    for (const Row& row : rows) {
        const Bytes old = Tag(3, kBack + kFront + kFish + kFront2);
        EXPECT_EQ(ContentOf(Update({old}, ListOf(row.list), {}, row.remove)), Frames(3, row.after))
            << row.name;
    }
}

// The list as the host gets it and gives it back.
TEST(TagUpdate, AListWrittenBackHarmsNothing)
{
    const std::string grin = "\xF0\x9F\x98\x80", cut = "\xF0\x90\x80\x80"; // U+10000 is cut to 0
    const Bytes tags[] = {
        Tag(4,
            "TIT2=\3" + grin + "|TALB=\3a" + cut + "b|TXXX=\3" + grin + "k\0v\0w|"s +
                "APIC=\3image/png\0\3"s + grin + "\xC3\xA9\0data|APIC:x\0\x11\0fish|"s +
                "TPE1=\3a\0\0b|TDRC:2004-03-15T12:00|TXXX=\3Year[2]\0x|PRIV=\xFF\xE0"s,
            0x80),
        Tag(3, "TYER:c. 1970|TCON:(17)(8)|TXXX:content group description\0x|"
               "TXXX:TagVersion\0mine|TXXX:Comment\0x|COMM:eng\0x|"s +
                   kFish + kBack + "TXXX:[1]\0x|APIC:image/y\0\4\0back|TIT2=\1"s +
                   Utf16(u"\xD800"))};
    for (const Bytes& tag : tags) {
        NTag list;
        ASSERT_TRUE(ReadTagList(tag, list));
        const Bytes back = Update({tag}, Decoded(Encoded(list)));
        EXPECT_EQ(back.size(), tag.size()) << testing::PrintToString(S(back));
        EXPECT_EQ(Read(back), Read(tag));
        EXPECT_EQ(Update({back}, Decoded(Encoded(list))), back);
    }
}

TEST(TagUpdate, ReadsBackWhatWasWritten)
{
    const XStr items = L"Album Artist=a\rb;Artist=\u4E00\r\U0001F600;Comment=one\rtwo;"
                       L"Comment iTunNORM= 0000 00AB;custom=x\ry\rz;Disc=1/2;Genre=(odd)\rRock;"
                       L"Lyrics=la\nla;Payment=http://a;Rating=8;Release date=2001-02;"
                       L"replaygain_track_gain=-6.1 dB;Title=a\rb;Track=3/12;"
                       L"User defined URL link=http://b;"
                       L"User defined URL link x=http://c\rhttp://d;Year=2004;";
    for (const wchar_t* version : {L"", L"ID3v2WriteV24"})
        for (const wchar_t* encoding : {L"ID3v2EncodeUni", L"ID3v2EncodeUTF8"})
            EXPECT_EQ(Read(Update({}, ListOf(items), {encoding, version})), items)
                << version << encoding;
    // More values than readers take from one frame.
    XStr many = L"0";
    for (int i = 1; i < 3000; ++i)
        many += L"\r" + std::to_wstring(i);
    const XStr crowd = L"Artist=" + many + L";k=" + many + L";";
    EXPECT_EQ(Read(Update({}, ListOf(crowd), {L"ID3v2WriteV24"})), crowd);
}

} // namespace
