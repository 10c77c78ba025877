#include "TagBuilder.h"
#include "tags/id3parser/fields/FieldNames.h"
#include "tags/id3parser/fields/FrameToMeta.h"
#include "tags/id3parser/fields/Genres.h"

#include <gtest/gtest.h>
#include <taglib/id3v1genres.h>

#include <map>

using namespace aiff;

using id3parser::metaMap;

namespace
{

TEST(Fields, RulesOfReading)
{
    const std::tuple<const char*, int, std::string, const wchar_t*> rows[] = {
        {"order and spelling", 3, "TXXX:title\0c|TIT2:a|TALB:b"s, L"Album=b;title=c\ra;"},
        {"no field", 3, "PRIV=x|TXXX:_mine\0x|TZZZ:a"s, L""},
        {"empty text", 3, "TIT2:|TPE1:", L"Title=;"},
        {"malformed text", 3, "TIT2=\7a|TALB:b", L"Album=b;"},
        {"several strings below 2.4", 3, "TPE1:a/b\0c"s, L"Artist=a/b\rc;"},
        {"empty pieces", 3, "TPE1:a//", L"Artist=a\r\r;"},
        {"counted but empty string", 4, "TPE1:a\0\0b"s, L"Artist=a\rb\r;"},
        {"track and count", 3, "TRCK:3/12", L"Track=3/12;"},
        {"lyrics", 3, "USLT:eng\0la la"s, L"Lyrics=la la;"},
        {"comments", 3, "COMM:eng\0one|COMM:deu\0two|COMM:engiTunNORM\0 0A|COMM:e"s,
         L"Comment=one\rtwo;Comment iTunNORM= 0A;"},
        {"user text", 4, "TXXX:k\0a\0b|TXXX:alone|TXXX:\0nameless"s, L"k=a\rb;"},
        {"decorated user text", 3, "TXXX:Artist[2]\0b|TXXX:x[]\0c|TXXX:y2]\0d|TXXX:[1]\0e"s,
         L"[1]=e;Artist=b;x[]=c;y2]=d;"},
        {"names beyond ASCII, last", 3, "TXXX:\xE9\0x|TXXX:zz\0y|TXXX:ZZ\0z"s,
         L"zz=y\rz;\u00E9=x;"},
        {"slashed user text", 3, "TXXX:SOLOIST\0a/b|TXXX:k\0a/b"s, L"k=a/b;SOLOIST=a\rb;"},
        {"slashed user text in 2.4", 4, "TXXX:Soloist\0a/b"s, L"Soloist=a/b;"},
        {"gain", 3, "TXXX:REPLAYGAIN_TRACK_GAIN\0-6 dB|TXXX:replaygain_album_peak\0n/a"s,
         L"REPLAYGAIN_TRACK_GAIN=-6 dB;"},
        {"user URLs", 3, "WXXX:\0u|WXXX:d\0v|WXXX:w"s,
         L"User defined URL link=u;User defined URL link d=v;"},
        {"rating: the last one counts", 3, "POPM=a\0\x20|POPM=b\0\xFF\0|POPM=c\0\0"s,
         L"Rating=10;"},
        {"rating: none", 3, "POPM=a\0|POPM=abc|POPM=\0\0"s, L""},
        {"genres below 2.4", 3, "TCON: (17) ; 8;(RX);;(200);((x;200;Own",
         L"Genre=Rock\rJazz\rRemix\r(x\r200\rOwn;"},
        {"genres in 2.4", 4, "TCON:17\0(8)\0a;b\0(CR)\0(x"s, L"Genre=Rock\rJazz\ra;b\rCover;"},
        {"genres at the ends", 3, "TCON:125;126;(126)x;99999999999999999999;(0",
         L"Genre=Dance Hall\r126\r99999999999999999999\rBlues;"},
        {"date", 3, "TYER:2004|TDAT:1503", L"Year=2004-03-15;"},
        {"date, other way round", 3, "TDAT:1503|TYER:2004", L"Year=2004-03-15;"},
        {"month only", 3, "TYER:2004|TDAT:0003", L"Year=2004-03;"},
        {"day and month only", 3, "TDAT:1503", L"Year=0000-03-15;"},
        {"no day and month", 3, "TYER:2004|TDAT:15.3", L"Year=2004;"},
        {"no valid year", 3, "TYER:c. 1970", L"Year=c. 1970;"},
        {"pictures", 3,
         "APIC:\0\3\0one|APIC:\0\3\0|APIC:\0\x11"
         "d\0two|APIC:\0\4e\0three"s,
         L"_albumart_1_Front Album Cover=one;_albumart_2_Undefined<subdesc>d=two;"
         L"_albumart_3_Back Album Cover<subdesc>e=three;"},
    };
    for (const auto& [name, version, frames, items] : rows)
        EXPECT_EQ(Read(Tag(version, frames)), items) << name;
    for (const int version : {2, 3, 4}) {
        NTag list = ListOf(L"old=x");
        EXPECT_TRUE(ReadTagList(Tag(version, ""), list));
        EXPECT_EQ(Content(list), L"TagVersion=ID3v2." + std::to_wstring(version) + L";");
        EXPECT_FALSE(ReadTagList(Text("ID3"), list));
        EXPECT_EQ(list.Count(), 0);
    }
}

TEST(Fields, StrictReadingRefusesWhatLenientReadingTakes)
{
    // The versions from and to which a frame is accepted; 0: in none.
    const std::tuple<std::string, uint8_t, uint8_t> rows[] = {
        {"TIT2:a", 2, 4},
        {"TIT2:a\0b"s, 4, 4},
        {"TXXX:a\0b"s, 2, 4},
        {"TXXX:a", 0, 0},
        {"TDAT:1503", 2, 3},
        {"TDAT:15", 0, 0},
        {"TYER:04", 0, 0},
        {"TDRC:2004", 4, 4},
        {"TIT2:\xE9", 0, 0},
        {"POPM=x", 0, 0},
        {"TXXX:replaygain_track_gain\0n/a"s, 0, 0}};
    for (const auto& [note, from, to] : rows)
        for (uint8_t version = 2; version <= 4; ++version) {
            const auto read = [&, &frame = note](bool strict) {
                metaMap map;
                frame_to_infos(Frame(frame), id3parser::t_tagRevision{version}, map, strict);
            };
            EXPECT_NO_THROW(read(false)) << note;
            if (version >= from && version <= to)
                EXPECT_NO_THROW(read(true)) << note;
            else
                EXPECT_THROW(read(true), id3parser::parseError) << note;
        }
}

TEST(Fields, RulesOfWriting)
{
    struct Row {
        const char* name;
        const wchar_t* items;
        std::string frames3, frames4 = frames3;
    };
    const Row rows[] = {
        {"single", L"title=a", "TIT2^a"},
        {"several", L"ARTIST=a\rb", "TPE1^a/b", "TPE1^a^b"},
        {"order", L"Artist=b;x=c;Title=a", "TIT2^a|TPE1^b|TXXX^x^c"},
        {"year of a date", L"year=2004-03-15", "TYER:2004\0"s, "TDRC:2004\0"s},
        {"release years", L"Original release year=1999;Release date=2001-02-03",
         "TORY:1999\0|TDRL:2001-02-03\0"s, "TDOR:1999\0|TDRL:2001-02-03\0"s},
        {"2.4 credits", L"Involved People=a\rb", "TXXX^Involved People^a|TXXX^Involved People^b",
         "TIPL^a^b"},
        {"2.3 dates", L"Recording dates=a", "TRDA^a", "TXXX^Recording dates^a"},
        {"genres", L"Genre=Rock\r(x", "TCON^Rock;((x", "TCON^Rock^((x"},
        {"user text", L"k=a\rb", "TXXX^k^a|TXXX^k^b", "TXXX^k^a^b"},
        {"slashed user text", L"Soloist=a\rb", "TXXX^Soloist^a/b", "TXXX^Soloist^a^b"},
        {"comment keeps its lines", L"Comment=a\rb", "COMM^^a\rb"},
        {"comment of iTunes", L"itunnorm= 0A", "COMM:engiTunNORM\0 0A\0"s},
        {"comment like one of iTunes", L"Comment iTunx=0a;Comment x=0A", "COMM^iTunx^0a|COMM^x^0A"},
        {"described comment", L"COMMENT  My=a", "COMM^My^a"},
        {"lyrics", L"Lyrics=a", "USLT^^a"},
        {"URLs", L"Payment=u\rv;User defined URL link d=w",
         "WPAY=u|WPAY=v|WXXX=\1\xFF\xFE"
         "d\0\0\0w"s},
        {"URLs in Latin", L"Payment=\u00E9\u20AC;User defined URL link d=\u20AC",
         "WPAY=\xE9?|WXXX=\1\xFF\xFE"
         "d\0\0\0\x80"s},
        {"rating", L"Rating=9", "POPM=Windows Media Player 9 Series\0\xE4"s},
        {"no rating", L"Rating=good", ""},
        {"style", L"Content Group Description=a", "TIT1^a"},
        {"no fields", L"TagVersion=ID3v2.3;_cdtoc=x;=x;Title=", ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(ContentOf(Update({}, ListOf(row.items))), Frames(3, row.frames3)) << row.name;
        const Options newer = {L"ID3v2EncodeUni", L"ID3v2WriteV24"};
        EXPECT_EQ(Parsed(Update({}, ListOf(row.items), newer)), Parsed(Tag(4, row.frames4)))
            << row.name;
    }
}

TEST(Fields, OptionsChooseEncodingVersionAndDates)
{
    const std::tuple<Options, const wchar_t*, int, std::string> rows[] = {
        {{}, L"Title=\u20AC\u4E00", 3, "TIT2:\x80?\0"s},
        {{L"ID3v2EncodeUTF8"}, L"Title=a", 3, "TIT2^a"},
        {{L"ID3v2EncodeUTF8", L"ID3v2WriteV24"}, L"Title=a", 4, "TIT2=\3a\0"s},
        {{L"ID3v2WriteV22", L"unknown"}, L"Title=a", 3, "TIT2:a\0"s},
        {{L"WriteStrictYearDate"}, L"Year=2004-03-15", 3, "TYER:2004\0|TDAT:1503\0"s},
        {{L"WriteStrictYearDate"}, L"Year=2004-03", 3, "TYER:2004\0|TDAT:0003\0"s},
        {{L"WriteFullDateInYearTag"}, L"Year=2004-03-15", 3, "TYER:2004-03-15\0"s},
    };
    for (const auto& [options, items, version, frames] : rows)
        EXPECT_EQ(Update({}, ListOf(items), options), Tag(version, frames, version == 4 ? 0x80 : 0))
            << frames;
}

TEST(Fields, NamesWithARuleOfTheirOwn)
{
    const std::string slashed[] = {"Soloist", "SoloistSort", "Soloists", "SoloistsSort",
                                   "ConductorSort"};
    EXPECT_EQ(std::size(slashed), std::size(id3parser::kSlashFields));
    for (const std::string& name : slashed) {
        const XStr item = FromUtf8(name) + L"=a\rb;";
        EXPECT_EQ(Read(Tag(3, "TXXX:" + name + "\0a/b"s)), item);
        EXPECT_EQ(ContentOf(Update({}, ListOf(item))), Frames(3, "TXXX^" + name + "^a/b"));
    }
    const std::string gains[] = {"replaygain_track_gain", "replaygain_track_peak",
                                 "replaygain_album_gain", "replaygain_album_peak"};
    EXPECT_EQ(std::size(gains), std::size(id3parser::kReplayGainFields));
    for (const std::string& name : gains) {
        const std::string frame = "TXXX:" + name + "\0"s;
        EXPECT_EQ(Read(Tag(4, frame + "n/a|" + frame + "-6 dB\0x"s)), FromUtf8(name) + L"=-6 dB;");
        const NTag list = ListOf(FromUtf8(name) + L"=1\r2");
        EXPECT_EQ(ContentOf(Update({}, list, {L"ID3v2WriteV24"})),
                  Frames(4, frame + "1\0|"s + frame + "2\0"s));
        metaMap map;
        EXPECT_FALSE(map.haveReplayGain());
        map.set(name, "1");
        EXPECT_TRUE(map.haveReplayGain());
    }
}

// TagLib's list, but for names that tags have always spelled in another way.
TEST(Fields, GenresAreThoseOfID3v1)
{
    const std::map<size_t, std::string> spellings = {
        {29, "Jazz+Funk"}, {40, "AlternRock"}, {67, "Psychadelic"}, {81, "Folk-Rock"},
        {85, "Bebob"},     {90, "Avantgarde"}, {123, "A capella"},  {125, "Dance Hall"}};
    for (size_t number = 0; number < id3parser::kGenreCount; ++number) {
        const auto own = spellings.find(number);
        const std::string usual = TagLib::ID3v1::genre(static_cast<int>(number)).to8Bit();
        EXPECT_EQ(id3parser::unmangle_genre(std::to_string(number)),
                  own == spellings.end() ? usual : own->second);
    }
}

TEST(Fields, RatingsAreStepsOfTheByte)
{
    const uint8_t steps[] = {0, 0, 1, 0x20, 0x40, 0x60, 0x80, 0xA0, 0xC4, 0xE4, 0xFF};
    for (int rating = 0; rating <= 10; ++rating) {
        const uint8_t step = steps[rating];
        EXPECT_EQ(id3parser::ratingToPOPM(rating), step) << rating;
        EXPECT_EQ(id3parser::POPMToRating(step), step == 0 ? 0 : rating);
        if (rating < 10)
            EXPECT_EQ(id3parser::POPMToRating(static_cast<uint8_t>(step + 1)),
                      std::max(rating, 1) + 1);
    }
    EXPECT_EQ(id3parser::ratingToPOPM(-1), 0);
    EXPECT_EQ(id3parser::ratingToPOPM(11), 0xFF);
}

TEST(Fields, SizeOfATagFromItsHeader)
{
    const std::pair<std::string, int64_t> rows[] = {
        {"ID3\3\0\0\0\0\1\1"s, 139},  {"ID3\x09\0\0\0\0\0\0"s, 10},
        {"ID3\4\0\x10\0\0\0\1"s, 21}, {"ID3\3\0\1\0\0\1\1"s, 0},
        {"ID3\3\0\0\0\0\x80\1"s, 0},  {"ID3\3\0\0\0\0\0"s, 0},
        {"id3\3\0\0\0\0\1\1"s, 0},    {"ID3\3\0\0\x7F\x7F\x7F\x7F"s, 0x0FFFFFFF + 10}};
    for (const auto& [header, size] : rows)
        EXPECT_EQ(TagSizeFromHeader(Text(header)), size) << header;
}

} // namespace
