#include "TagBuilder.h"
#include "tags/id3parser/fields/FieldNames.h"
#include "tags/id3parser/fields/FrameToMeta.h"
#include "tags/id3parser/fields/Genres.h"

#include <gtest/gtest.h>
#include <taglib/id3v1genres.h>

#include <map>

using id3parser::metaMap;

namespace
{

TEST(Fields, RulesOfReading)
{
    using Row = std::tuple<int, std::string, const wchar_t*>;
    const Row rows[] = {
        // Names: their order and spelling; those that are no field, or of more than ASCII.
        Row(3, "TXXX:title~c|TIT2:a|TALB:b", L"Album=b;title=c\ra;"),
        Row(3, "PRIV=x|TXXX:_mine~x|TZZZ:a", L""),
        Row(3, "TXXX:\xE9~x|TXXX:zz~y|TXXX:ZZ~z", L"zz=y\rz;\u00E9=x;"),
        Row(3, "COMM:eng~one|COMM:deu~two|COMM:engiTunNORM~ 0A|COMM:e",
            L"Comment=one\rtwo;Comment iTunNORM= 0A;"),
        Row(3, "WXXX:~u|WXXX:d~v|WXXX:w", L"User defined URL link=u;User defined URL link d=v;"),
        // Values: empty, malformed, several.
        Row(3, "TIT2:|TPE1:", L"Title=;"), Row(3, "TIT2=\7a|TALB:b", L"Album=b;"),
        Row(3, "TPE1:a/b~c", L"Artist=a/b\rc;"), Row(3, "TPE1:a//", L"Artist=a\r\r;"),
        Row(4, "TPE1:a~~b", L"Artist=a\rb\r;"),
        Row(4, "TXXX:k~a~b|TXXX:alone|TXXX:~nameless", L"k=a\rb;"),
        Row(3, "TXXX:Artist[2]~b|TXXX:x[]~c|TXXX:y2]~d|TXXX:[1]~e", L"[1]=e;Artist=b;x[]=c;y2]=d;"),
        Row(3, "TXXX:SOLOIST~a/b|TXXX:k~a/b", L"k=a/b;SOLOIST=a\rb;"),
        Row(4, "TXXX:Soloist~a/b", L"Soloist=a/b;"),
        Row(3, "TXXX:REPLAYGAIN_TRACK_GAIN~-6 dB|TXXX:replaygain_album_peak~n/a",
            L"REPLAYGAIN_TRACK_GAIN=-6 dB;"),
        // Of ratings the last one counts.
        Row(3, "POPM=a~\x20|POPM=b~\xFF~|POPM=c~~", L"Rating=10;"),
        Row(3, "POPM=a~|POPM=abc|POPM=~~", L""),
        Row(3, "TCON: (17) ; 8;(RX);;(200);((x;200;Own", L"Genre=Rock\rJazz\rRemix\r(x\r200\rOwn;"),
        Row(4, "TCON:17~(8)~a;b~(CR)~(x", L"Genre=Rock\rJazz\ra;b\rCover;"),
        Row(3, "TCON:125;126;(126)x;99999999999999999999;(0",
            L"Genre=Dance Hall\r126\r99999999999999999999\rBlues;"),
        // Dates, whole and in part.
        Row(3, "TYER:2004|TDAT:1503", L"Year=2004-03-15;"),
        Row(3, "TDAT:1503|TYER:2004", L"Year=2004-03-15;"),
        Row(3, "TYER:2004|TDAT:0003", L"Year=2004-03;"), Row(3, "TDAT:1503", L"Year=0000-03-15;"),
        Row(3, "TYER:2004|TDAT:15.3", L"Year=2004;"), Row(3, "TYER:c. 1970", L"Year=c. 1970;"),
        Row(3, "APIC:~\3~one|APIC:~\3~|APIC:~\x11g~two|APIC:~\4e~three",
            L"_albumart_1_Front Album Cover=one;_albumart_2_Undefined<subdesc>g=two;"
            L"_albumart_3_Back Album Cover<subdesc>e=three;")};
    for (const auto& [version, frames, items] : rows)
        EXPECT_EQ(Read(Tag(version, frames)), items) << frames;
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
    using Row = std::tuple<std::string, uint8_t, uint8_t>;
    const Row rows[] = {Row("TIT2:a", 2, 4), Row("TIT2:a~b", 4, 4), Row("TXXX:a~b", 2, 4),
                        Row("TXXX:a", 0, 0), Row("TDAT:1503", 2, 3), Row("TDAT:15", 0, 0),
                        Row("TYER:04", 0, 0),
                        // Known in 2.4 only; not ASCII; too short; no number.
                        Row("TDRC:2004", 4, 4), Row("TIT2:\xE9", 0, 0), Row("POPM=x", 0, 0),
                        Row("TXXX:replaygain_track_gain~n/a", 0, 0)};
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
    // The list, the frames of ID3v2.3, and those of 2.4 where they differ.
    struct Row {
        const wchar_t* items;
        std::string frames3, frames4 = frames3;
    };
    const Row rows[] = {
        {L"title=a", "TIT2^a"},
        {L"ARTIST=a\rb", "TPE1^a/b", "TPE1^a^b"},
        {L"Artist=b;x=c;Title=a", "TIT2^a|TPE1^b|TXXX^x^c"},
        {L"year=2004-03-15", "TYER:2004~", "TDRC:2004~"},
        {L"Original release year=1999", "TORY:1999~", "TDOR:1999~"},
        {L"Release date=2001-02-03", "TDRL:2001-02-03~"},
        {L"Involved People=a\rb", "TXXX^Involved People^a|TXXX^Involved People^b", "TIPL^a^b"},
        {L"Recording dates=a", "TRDA^a", "TXXX^Recording dates^a"},
        {L"Soloist=a\rb", "TXXX^Soloist^a/b", "TXXX^Soloist^a^b"},
        {L"Comment=a\rb", "COMM^^a\rb"},
        {L"itunnorm= 0A", "COMM:engiTunNORM~ 0A~"},
        {L"Comment iTunx=0a;Comment x=0A", "COMM^iTunx^0a|COMM^x^0A"},
        {L"COMMENT  My=a", "COMM^My^a"},
        {L"Payment=\u00E9\u20AC;User defined URL link g=\u20AC",
         "WPAY=\xE9?|WXXX=\1\xFF\xFEg~~~\x80"},
        {L"Rating=good", ""},
        {L"Content Group Description=a", "TIT1^a"},
        {L"TagVersion=ID3v2.3;_cdtoc=x;=x;Title=", ""}};
    for (const auto& [items, frames3, frames4] : rows) {
        EXPECT_EQ(ContentOf(Update({}, ListOf(items))), Frames(3, frames3));
        const Bytes newer = Update({}, ListOf(items), {L"ID3v2EncodeUni", L"ID3v2WriteV24"});
        EXPECT_EQ(Parsed(newer), Parsed(Tag(4, frames4)));
    }
}

TEST(Fields, OptionsChooseEncodingVersionAndDates)
{
    const std::tuple<Options, const wchar_t*, int, std::string> rows[] = {
        {{}, L"Title=\u20AC\u4E00", 3, "TIT2:\x80?~"},
        {{L"ID3v2EncodeUTF8"}, L"Title=a", 3, "TIT2^a"},
        {{L"ID3v2EncodeUTF8", L"ID3v2WriteV24"}, L"Title=a", 4, "TIT2=\3a~"},
        {{L"ID3v2WriteV22", L"unknown"}, L"Title=a", 3, "TIT2:a~"},
        {{L"WriteStrictYearDate"}, L"Year=2004-03-15", 3, "TYER:2004~|TDAT:1503~"},
        {{L"WriteStrictYearDate"}, L"Year=2004-03", 3, "TYER:2004~|TDAT:0003~"},
        {{L"WriteFullDateInYearTag"}, L"Year=2004-03-15", 3, "TYER:2004-03-15~"},
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
        EXPECT_EQ(Read(Tag(3, "TXXX:" + name + "~a/b")), item);
        EXPECT_EQ(ContentOf(Update({}, ListOf(item))), Frames(3, "TXXX^" + name + "^a/b"));
    }
    const std::string gains[] = {"replaygain_track_gain", "replaygain_track_peak",
                                 "replaygain_album_gain", "replaygain_album_peak"};
    EXPECT_EQ(std::size(gains), std::size(id3parser::kReplayGainFields));
    for (const std::string& name : gains) {
        const std::string frame = "TXXX:" + name + "~";
        EXPECT_EQ(Read(Tag(4, frame + "n/a|" + frame + "-6 dB~x")), FromUtf8(name) + L"=-6 dB;");
        const NTag list = ListOf(FromUtf8(name) + L"=1\r2");
        EXPECT_EQ(ContentOf(Update({}, list, {L"ID3v2WriteV24"})),
                  Frames(4, frame + "1~|" + frame + "2~"));
        metaMap map;
        EXPECT_FALSE(map.haveReplayGain());
        map.set(name, "1");
        EXPECT_TRUE(map.haveReplayGain());
    }
}

// TagLib's list, but for names that tags have always spelled in another way.
TEST(Fields, GenresAreThoseOfID3v1)
{
    std::map<size_t, std::string> genres = {
        {29, "Jazz+Funk"}, {40, "AlternRock"}, {67, "Psychadelic"}, {81, "Folk-Rock"},
        {85, "Bebob"},     {90, "Avantgarde"}, {123, "A capella"},  {125, "Dance Hall"}};
    for (size_t number = 0; number < id3parser::kGenreCount; ++number) {
        genres.emplace(number, TagLib::ID3v1::genre(static_cast<int>(number)).to8Bit());
        EXPECT_EQ(id3parser::unmangle_genre(std::to_string(number)), genres[number]);
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

} // namespace
