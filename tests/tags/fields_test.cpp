// SPDX-License-Identifier: MIT
#include "TagBuilder.h"
#include "tags/TagItems.h"
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
    const auto read = [](const std::string& note, id3parser::t_tagRevision revision, bool strict) {
        metaMap map;
        frame_to_infos(Frame(note), revision, map, strict);
    };
    for (const char* note : {"TIT2:a~b", "TXXX:a", "TDAT:15", "TYER:04", "TDRC:2004", "TIT2:\xE9",
                             "POPM=x", "TXXX:replaygain_track_gain~n/a"}) {
        EXPECT_NO_THROW(read(note, id3parser::kRevision3, false)) << note;
        EXPECT_THROW(read(note, id3parser::kRevision3, true), id3parser::parseError) << note;
    }
    EXPECT_NO_THROW(read("TIT2:a~b", id3parser::kRevision4, true));
    EXPECT_NO_THROW(read("TXXX:a~b", id3parser::kRevision3, true));
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
    const Options none, utf8 = {L"ID3v2EncodeUTF8"}, utf8In24 = {utf8[0], L"ID3v2WriteV24"};
    const Options strict = {L"WriteStrictYearDate"}, full = {L"WriteFullDateInYearTag"};
    using Row = std::tuple<Options, const wchar_t*, int, std::string>;
    const Row rows[] = {Row(none, L"Title=\u20AC\u4E00", 3, "TIT2:\x80?~"),
                        Row(utf8, L"Title=a", 3, "TIT2^a"),
                        Row(utf8In24, L"Title=a", 4, "TIT2=\3a~"),
                        Row({L"ID3v2WriteV22", L"unknown"}, L"Title=a", 3, "TIT2:a~"),
                        // How a date is divided.
                        Row(strict, L"Year=2004-03-15", 3, "TYER:2004~|TDAT:1503~"),
                        Row(strict, L"Year=2004-03", 3, "TYER:2004~|TDAT:0003~"),
                        Row(full, L"Year=2004-03-15", 3, "TYER:2004-03-15~")};
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
    for (int rating = 0; rating <= 10; ++rating)
        EXPECT_EQ(id3parser::ratingToPOPM(rating), steps[rating]) << rating;
    // A byte has the rating of the first step that it does not exceed.
    EXPECT_EQ(id3parser::POPMToRating(0), 0);
    for (int byte = 1, rating = 2; byte <= 0xFF; ++byte) {
        rating += byte > steps[rating];
        EXPECT_EQ(id3parser::POPMToRating(static_cast<uint8_t>(byte)), rating) << byte;
    }
    EXPECT_EQ(id3parser::ratingToPOPM(-1), 0);
    EXPECT_EQ(id3parser::ratingToPOPM(11), 0xFF);
}

} // namespace
