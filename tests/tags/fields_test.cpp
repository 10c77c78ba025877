#include "TagBuilder.h"
#include "tags/TagPictures.h"
#include "tags/id3parser/Dates.h"
#include "tags/id3parser/FieldNames.h"
#include "tags/id3parser/FrameRules.h"
#include "tags/id3parser/FrameToMeta.h"
#include "tags/id3parser/Genres.h"
#include "tags/id3parser/Serialize.h"

#include <gtest/gtest.h>

#include <set>

using id3parser::metaMap;

namespace
{

struct FieldCase {
    std::string id;
    const wchar_t* field;
    char kind; // s single, m several, u URL, o anything else
};

const FieldCase kFields[] = {{"TALB", L"Album", 's'},
                             {"TBPM", L"Tempo", 's'},
                             {"TCMP", L"Compilation", 's'},
                             {"TCOM", L"Composer", 'm'},
                             {"TCOP", L"Copyright", 's'},
                             {"TDOR", L"Original release year", 's'},
                             {"TDRC", L"Year", 's'},
                             {"TDRL", L"Release date", 's'},
                             {"TENC", L"Encoded by", 's'},
                             {"TEXT", L"Lyricist/Text writer", 'm'},
                             {"TIPL", L"Involved People", 's'},
                             {"TIT1", L"Style", 'm'},
                             {"TIT2", L"Title", 's'},
                             {"TIT3", L"Subtitle", 's'},
                             {"TKEY", L"Initial key", 's'},
                             {"TLAN", L"Language(s)", 's'},
                             {"TLEN", L"Length", 's'},
                             {"TMCL", L"Musician Credits", 's'},
                             {"TMED", L"Source", 's'},
                             {"TOAL", L"Original album/movie/show title", 'm'},
                             {"TOPE", L"Original artist(s)/performer(s)", 'm'},
                             {"TORY", L"Original release year", 's'},
                             {"TOWN", L"File owner/licensee", 's'},
                             {"TPE1", L"Artist", 'm'},
                             {"TPE2", L"Album Artist", 'm'},
                             {"TPE3", L"Conductor", 'm'},
                             {"TPE4", L"Interpreted, remixed, or otherwise modified by", 'm'},
                             {"TPOS", L"Disc", 's'},
                             {"TPUB", L"Label", 's'},
                             {"TRCK", L"Track", 's'},
                             {"TRDA", L"Recording dates", 's'},
                             {"TRSN", L"Internet radio station name", 's'},
                             {"TRSO", L"Internet radio station owner", 's'},
                             {"TSO2", L"Album Artist Sort", 'm'},
                             {"TSOA", L"Album Sort", 'm'},
                             {"TSOC", L"ComposerSort", 'm'},
                             {"TSOP", L"Artist Sort", 'm'},
                             {"TSOT", L"Title Sort", 'm'},
                             {"TSRC", L"ISRC", 's'},
                             {"TSSE", L"Encoder Settings", 's'},
                             {"TSST", L"Set subtitle", 's'},
                             {"TYER", L"Year", 's'},
                             {"WCOM", L"Commercial information", 'u'},
                             {"WCOP", L"Copyright/Legal infromation", 'u'},
                             {"WOAF", L"Official audio file webpage", 'u'},
                             {"WOAR", L"Official artist/performer webpage", 'u'},
                             {"WOAS", L"Official audio source webpage", 'u'},
                             {"WORS", L"Official internet radio station homepage", 'u'},
                             {"WPAY", L"Payment", 'u'},
                             {"WPUB", L"Official publisher webpage", 'u'},
                             // These have cases of their own below.
                             {"COMM", L"", 'o'},
                             {"POPM", L"", 'o'},
                             {"TCON", L"", 'o'},
                             {"TDAT", L"", 'o'},
                             {"TXXX", L"", 'o'},
                             {"USLT", L"", 'o'},
                             {"WXXX", L"", 'o'}};

TEST(Fields, EveryFrameHasItsField)
{
    std::set<std::string> tested;
    for (const FieldCase& c : kFields) {
        tested.insert(c.id);
        if (c.kind == 'o')
            continue;
        const std::string body = c.kind == 'u' ? "a/b" : Text("a/b");
        const Items single = {{c.field, L"a/b"}}, split = {{c.field, L"a\rb"}};
        EXPECT_EQ(Read(TagBuilder(3).Frame(c.id, body).Done()), c.kind == 'm' ? split : single)
            << c.id;
        EXPECT_EQ(Read(TagBuilder(4).Frame(c.id, body).Done()), single) << c.id;
        const Bytes strings = TagBuilder(4).Frame(c.id, Text("a\0b"s)).Done();
        if (c.kind != 'u') {
            EXPECT_EQ(Read(strings), c.kind == 'm' ? split : Items({{c.field, L"a"}})) << c.id;
        }
    }
    for (const id3parser::FrameRule& rule : id3parser::FrameRules())
        EXPECT_TRUE(tested.contains(IdText(rule.id))) << IdText(rule.id);
}

struct ReadCase {
    const char* name;
    int version;
    std::vector<std::pair<std::string, std::string>> frames;
    Items expected;
};

const ReadCase kReadings[] = {
    {"order and spelling",
     3,
     {{"TXXX", Text("title\0c"s)}, {"TIT2", Text("a")}, {"TALB", Text("b")}},
     {{L"Album", L"b"}, {L"title", L"c\ra"}}},
    {"no field", 3, {{"PRIV", "x"}, {"TXXX", Text("_mine\0x"s)}, {"TZZZ", Text("a")}}, {}},
    {"empty text", 3, {{"TIT2", Text("")}, {"TPE1", Text("")}}, {{L"Title", L""}}},
    {"malformed text", 3, {{"TIT2", "\7a"}, {"TALB", Text("b")}}, {{L"Album", L"b"}}},
    {"several strings below 2.4", 3, {{"TPE1", Text("a/b\0c"s)}}, {{L"Artist", L"a/b\rc"}}},
    {"empty pieces", 3, {{"TPE1", Text("a//")}}, {{L"Artist", L"a\r\r"}}},
    {"counted but empty string", 4, {{"TPE1", Text("a\0\0b"s)}}, {{L"Artist", L"a\rb\r"}}},
    {"track and count", 3, {{"TRCK", Text("3/12")}}, {{L"Track", L"3/12"}}},
    {"lyrics", 3, {{"USLT", "\0eng\0la la"s}}, {{L"Lyrics", L"la la"}}},
    {"comments",
     3,
     {{"COMM", "\0eng\0one"s},
      {"COMM", "\0deu\0two"s},
      {"COMM", "\0engiTunNORM\0 0A"s},
      {"COMM", "\0e"s}},
     {{L"Comment", L"one\rtwo"}, {L"Comment iTunNORM", L" 0A"}}},
    {"user text",
     4,
     {{"TXXX", Text("k\0a\0b"s)}, {"TXXX", Text("alone")}, {"TXXX", Text("\0nameless"s)}},
     {{L"k", L"a\rb"}}},
    {"decorated user text",
     3,
     {{"TXXX", Text("Artist[2]\0b"s)}, {"TXXX", Text("x[]\0c"s)}, {"TXXX", Text("y2]\0d"s)}},
     {{L"Artist", L"b"}, {L"x[]", L"c"}, {L"y2]", L"d"}}},
    {"slashed user text",
     3,
     {{"TXXX", Text("SOLOIST\0a/b"s)}, {"TXXX", Text("k\0a/b"s)}},
     {{L"k", L"a/b"}, {L"SOLOIST", L"a\rb"}}},
    {"slashed user text in 2.4", 4, {{"TXXX", Text("Soloist\0a/b"s)}}, {{L"Soloist", L"a/b"}}},
    {"gain",
     3,
     {{"TXXX", Text("REPLAYGAIN_TRACK_GAIN\0-6 dB"s)},
      {"TXXX", Text("replaygain_album_peak\0n/a"s)}},
     {{L"REPLAYGAIN_TRACK_GAIN", L"-6 dB"}}},
    {"user URLs",
     3,
     {{"WXXX", Text("\0u"s)}, {"WXXX", Text("d\0v"s)}, {"WXXX", Text("w")}},
     {{L"User defined URL link", L"u"}, {L"User defined URL link d", L"v"}}},
    {"rating: the last one counts",
     3,
     {{"POPM", "a\0\x20"s}, {"POPM", "b\0\xFF\0"s}, {"POPM", "c\0\0"s}},
     {{L"Rating", L"10"}}},
    {"rating: none", 3, {{"POPM", "a\0"s}, {"POPM", "abc"}, {"POPM", "\0\0"s}}, {}},
    {"genres below 2.4",
     3,
     {{"TCON", Text(" (17) ; 8;(RX);;(200);((x;200;Own")}},
     {{L"Genre", L"Rock\rJazz\rRemix\r(x\r200\rOwn"}}},
    {"genres in 2.4",
     4,
     {{"TCON", Text("17\0(8)\0a;b\0(CR)\0(x"s)}},
     {{L"Genre", L"Rock\rJazz\ra;b\rCover"}}},
    {"date", 3, {{"TYER", Text("2004")}, {"TDAT", Text("1503")}}, {{L"Year", L"2004-03-15"}}},
    {"date, other way round",
     3,
     {{"TDAT", Text("1503")}, {"TYER", Text("2004")}},
     {{L"Year", L"2004-03-15"}}},
    {"month only", 3, {{"TYER", Text("2004")}, {"TDAT", Text("0003")}}, {{L"Year", L"2004-03"}}},
    {"day and month only", 3, {{"TDAT", Text("1503")}}, {{L"Year", L"0000-03-15"}}},
    {"no day and month", 3, {{"TYER", Text("2004")}, {"TDAT", Text("15.3")}}, {{L"Year", L"2004"}}},
    {"no valid year", 3, {{"TYER", Text("c. 1970")}}, {{L"Year", L"c. 1970"}}},
    {"pictures",
     3,
     {{"APIC", "\0\0\3\0one"s},
      {"APIC", "\0\0\3\0"s},
      {"APIC", "\0\0\x11"
               "d\0two"s},
      {"APIC", "\0\0\4e\0three"s}},
     {{L"_albumart_1_Front Album Cover", L"one"},
      {L"_albumart_2_Undefined<subdesc>d", L"two"},
      {L"_albumart_3_Back Album Cover<subdesc>e", L"three"}}}};

TEST(Fields, RulesOfReading)
{
    for (const ReadCase& c : kReadings) {
        TagBuilder tag(c.version);
        for (const auto& [id, body] : c.frames)
            tag.Frame(id, body);
        EXPECT_EQ(Read(tag.Done()), c.expected) << c.name;
    }
}

TEST(Fields, AListTellsTheVersionFirst)
{
    for (const int version : {2, 3, 4}) {
        NTag list;
        list.AddTag(L"old", L"x");
        EXPECT_TRUE(ReadTagList(TagBuilder(version).Done(), list));
        ASSERT_EQ(list.Count(), 1);
        EXPECT_EQ(list[0].name, kTagVersionName);
        EXPECT_EQ(list[0].value, L"ID3v2." + std::to_wstring(version));
        EXPECT_FALSE(ReadTagList(B("ID3"), list));
        EXPECT_EQ(list.Count(), 0);
    }
}

TEST(Fields, StrictReadingRefusesWhatLenientReadingTakes)
{
    struct Case {
        std::string id, body;
        int acceptedFrom, acceptedTo; // versions
    };
    const Case cases[] = {{"TIT2", Text("a"), 2, 4},
                          {"TIT2", Text("a\0b"s), 4, 4},
                          {"TPE1", Text("a\0b"s), 4, 4},
                          {"TXXX", Text("a\0b"s), 2, 4},
                          {"TXXX", Text("a"), 9, 9},
                          {"TDAT", Text("1503"), 2, 3},
                          {"TDAT", Text("15"), 9, 9},
                          {"TYER", Text("2004"), 2, 3},
                          {"TYER", Text("04"), 9, 9},
                          {"TORY", Text("2004"), 2, 3},
                          {"TRDA", Text("x"), 2, 3},
                          {"TDRC", Text("2004"), 4, 4},
                          {"TDOR", Text("2004"), 4, 4},
                          {"TIPL", Text("x"), 4, 4},
                          {"TMCL", Text("x"), 4, 4},
                          {"TDRL", Text("2004"), 2, 4},
                          {"TIT2", Text("\xE9"), 9, 9},
                          {"POPM", "x", 9, 9},
                          {"TXXX", Text("replaygain_track_gain\0n/a"s), 9, 9}};
    for (const Case& c : cases) {
        id3parser::t_frame frame(uint32_t{0});
        for (const char letter : c.id)
            frame.id = frame.id << 8 | static_cast<uint8_t>(letter);
        frame.data.set_data_fromptr(c.body.data(), c.body.size());
        for (const auto revision :
             {id3parser::kRevision2, id3parser::kRevision3, id3parser::kRevision4}) {
            metaMap map;
            const bool accepted = revision >= c.acceptedFrom && revision <= c.acceptedTo;
            EXPECT_NO_THROW(frame_to_infos(frame, revision, map, false)) << c.id;
            if (accepted)
                EXPECT_NO_THROW(frame_to_infos(frame, revision, map, true)) << c.id << revision;
            else
                EXPECT_THROW(frame_to_infos(frame, revision, map, true), id3parser::parseError)
                    << c.id << revision;
        }
    }
}

using Frames = std::vector<std::pair<std::string, std::string>>;

// The frames as the serializer writes them.
std::string Written(int version, const Frames& frames)
{
    id3parser::streamOutBuffer out;
    for (const auto& [id, body] : frames) {
        id3parser::t_frame frame;
        for (const char letter : id)
            frame.id = frame.id << 8 | static_cast<uint8_t>(letter);
        frame.data.set_data_fromptr(body.data(), body.size());
        version == 4 ? WriteFrame_v4(frame, out) : WriteFrame_v3(frame, out);
    }
    return S(out.bytes);
}

// The body of a frame with these strings, as the writer makes it.
std::string Wide(std::u16string_view a)
{
    return "\1"s + Utf16(a);
}

std::string Wide(std::u16string_view a, std::u16string_view b, std::string_view language = {})
{
    return std::string("\1").append(language) + Utf16(a) + Utf16(b);
}

struct WriteCase {
    const char* name;
    Items list;
    Frames frames3, frames4; // empty: the same
};

const WriteCase kWritings[] = {
    {"single", {{L"title", L"a"}}, {{"TIT2", Wide(u"a")}}, {}},
    {"several", {{L"ARTIST", L"a\rb"}}, {{"TPE1", Wide(u"a/b")}}, {{"TPE1", Wide(u"a", u"b")}}},
    {"order",
     {{L"Artist", L"b"}, {L"x", L"c"}, {L"Title", L"a"}},
     {{"TIT2", Wide(u"a")}, {"TPE1", Wide(u"b")}, {"TXXX", Wide(u"x", u"c")}},
     {}},
    {"year of a date",
     {{L"year", L"2004-03-15"}},
     {{"TYER", "\0002004\0"s}},
     {{"TDRC", "\0002004\0"s}}},
    {"release years",
     {{L"Original release year", L"1999"}, {L"Release date", L"2001-02-03"}},
     {{"TORY", "\0001999\0"s}, {"TDRL", "\0002001-02-03\0"s}},
     {{"TDOR", "\0001999\0"s}, {"TDRL", "\0002001-02-03\0"s}}},
    {"2.4 credits",
     {{L"Involved People", L"a\rb"}},
     {{"TXXX", Wide(u"Involved People", u"a")}, {"TXXX", Wide(u"Involved People", u"b")}},
     {{"TIPL", Wide(u"a", u"b")}}},
    {"2.3 dates",
     {{L"Recording dates", L"a"}},
     {{"TRDA", Wide(u"a")}},
     {{"TXXX", Wide(u"Recording dates", u"a")}}},
    {"genres",
     {{L"Genre", L"Rock\r(x"}},
     {{"TCON", Wide(u"Rock;((x")}},
     {{"TCON", Wide(u"Rock", u"((x")}}},
    {"user text",
     {{L"k", L"a\rb"}},
     {{"TXXX", Wide(u"k", u"a")}, {"TXXX", Wide(u"k", u"b")}},
     {{"TXXX", Wide(u"k", u"a") + Utf16(u"b")}}},
    {"slashed user text",
     {{L"Soloist", L"a\rb"}},
     {{"TXXX", Wide(u"Soloist", u"a/b")}},
     {{"TXXX", Wide(u"Soloist", u"a") + Utf16(u"b")}}},
    {"gain",
     {{L"replaygain_track_gain", L"-6 dB"}},
     {{"TXXX", Wide(u"replaygain_track_gain", u"-6 dB")}},
     {}},
    {"comment keeps its lines", {{L"Comment", L"a\rb"}}, {{"COMM", Wide(u"", u"a\rb", "eng")}}, {}},
    {"comment of iTunes", {{L"itunnorm", L" 0A"}}, {{"COMM", "\0engiTunNORM\0 0A\0"s}}, {}},
    {"described comment", {{L"COMMENT  My", L"a"}}, {{"COMM", Wide(u"My", u"a", "eng")}}, {}},
    {"lyrics", {{L"Lyrics", L"a"}}, {{"USLT", Wide(u"", u"a", "eng")}}, {}},
    {"URLs",
     {{L"Payment", L"u\rv"}, {L"User defined URL link d", L"w"}},
     {{"WPAY", "u"}, {"WPAY", "v"}, {"WXXX", Wide(u"d") + "w"}},
     {}},
    {"rating", {{L"Rating", L"9"}}, {{"POPM", "Windows Media Player 9 Series\0\xE4"s}}, {}},
    {"no rating", {{L"Rating", L"good"}}, {}, {}},
    {"style", {{L"Content Group Description", L"a"}}, {{"TIT1", Wide(u"a")}}, {}},
    {"no fields",
     {{L"TagVersion", L"ID3v2.3"}, {L"_cdtoc", L"x"}, {L"", L"x"}, {L"Title", L""}},
     {},
     {}}};

TEST(Fields, RulesOfWriting)
{
    for (const WriteCase& c : kWritings) {
        const UpdateSettings newer = {false, {L"ID3v2EncodeUni", L"ID3v2WriteV24"}};
        const Frames& frames4 = c.frames4.empty() ? c.frames3 : c.frames4;
        EXPECT_EQ(ContentOf(Update({}, ListOf(c.list))), Written(3, c.frames3)) << c.name;
        EXPECT_EQ(ContentOf(Update({}, ListOf(c.list), newer)), Written(4, frames4)) << c.name;
    }
}

TEST(Fields, OptionsChooseEncodingVersionAndDates)
{
    struct Case {
        std::vector<const wchar_t*> options;
        Items list;
        int version;
        Frames frames;
    };
    const std::string year = "\0002004\0"s;
    const Case cases[] = {
        {{}, {{L"Title", L"\u20AC\u4E00"}}, 3, {{"TIT2", "\0\x80?\0"s}}},
        {{L"ID3v2EncodeUTF8"}, {{L"Title", L"a"}}, 3, {{"TIT2", Wide(u"a")}}},
        {{L"ID3v2EncodeUTF8", L"ID3v2WriteV24"}, {{L"Title", L"a"}}, 4, {{"TIT2", "\3a\0"s}}},
        {{L"ID3v2WriteV22", L"unknown"}, {{L"Title", L"a"}}, 3, {{"TIT2", "\0a\0"s}}},
        {{L"WriteStrictYearDate"},
         {{L"Year", L"2004-03-15"}},
         3,
         {{"TYER", year}, {"TDAT", "\0001503\0"s}}},
        {{L"WriteStrictYearDate"},
         {{L"Year", L"2004-03"}},
         3,
         {{"TYER", year}, {"TDAT", "\0000003\0"s}}},
        {{L"WriteFullDateInYearTag"},
         {{L"Year", L"2004-03-15"}},
         3,
         {{"TYER", "\0002004-03-15\0"s}}}};
    for (const Case& c : cases) {
        const Bytes tag = Update({}, ListOf(c.list), {false, c.options});
        EXPECT_EQ(tag[3], c.version) << c.options.size();
        EXPECT_EQ(ContentOf(tag), Written(c.version, c.frames)) << c.options.size();
    }
}

TEST(Fields, SmallRules)
{
    const std::pair<int, int> ratings[] = {{0, 0},   {1, 2},   {2, 3},   {32, 3},   {33, 4},
                                           {196, 8}, {197, 9}, {228, 9}, {229, 10}, {255, 10}};
    for (const auto& [byte, rating] : ratings)
        EXPECT_EQ(id3parser::POPMToRating(static_cast<uint8_t>(byte)), rating) << byte;
    EXPECT_EQ(id3parser::ratingToPOPM(-1), 0);
    EXPECT_EQ(id3parser::ratingToPOPM(11), 0xFF);

    EXPECT_EQ(id3parser::unmangle_genre("125"), "Dance Hall");
    EXPECT_EQ(id3parser::unmangle_genre("126"), "126");
    EXPECT_EQ(id3parser::unmangle_genre("(126)x"), "");
    EXPECT_EQ(id3parser::unmangle_genre("99999999999999999999"), "99999999999999999999");
    EXPECT_EQ(id3parser::unmangle_genre("(0"), "Blues");

    EXPECT_TRUE(id3parser::IsItunesCrap("iTunSMPB"));
    EXPECT_FALSE(id3parser::IsItunesCrap("itunes"));
    EXPECT_TRUE(id3parser::iTunIsNumeric(" 00 0A"));
    EXPECT_FALSE(id3parser::iTunIsNumeric("0a"));

    EXPECT_EQ(GetPictureType(L""), 0);
    EXPECT_EQ(GetPictureType(L"Undefined"), 0);
    EXPECT_EQ(GetPictureType(L"back album cover"), 4);
    EXPECT_EQ(GetPictureType(L"whatever"), 3);
    EXPECT_EQ(DetectPictureMimeType(B("\x89PNG....")), "image/png");
    EXPECT_EQ(DetectPictureMimeType(B("\xFF\xD8......")), "image/jpeg");
    EXPECT_EQ(DetectPictureMimeType(B("\x89PNG...")), "");

    metaMap map;
    map.add("b", "1");
    map.add("B", "2");
    map.set("\xC3\xA9", "3");
    map.findOrAdd("_");
    EXPECT_EQ(map.find("b")->size(), 2u);
    EXPECT_FALSE(map.haveReplayGain());
    map.set("Replaygain_Album_Gain", "1");
    EXPECT_TRUE(map.haveReplayGain());
    std::string order;
    for (const auto& [field, values] : map)
        order += field + " ";
    EXPECT_EQ(order, "_ b Replaygain_Album_Gain \xC3\xA9 ");
}

TEST(Fields, SizeOfATagFromItsHeader)
{
    const std::pair<std::string, int64_t> cases[] = {
        {"ID3\3\0\0\0\0\1\1"s, 139},  {"ID3\x09\0\0\0\0\0\0"s, 10},
        {"ID3\4\0\x10\0\0\0\1"s, 21}, {"ID3\3\0\1\0\0\1\1"s, 0},
        {"ID3\3\0\0\0\0\x80\1"s, 0},  {"ID3\3\0\0\0\0\0"s, 0},
        {"id3\3\0\0\0\0\1\1"s, 0},    {"ID3\3\0\0\x7F\x7F\x7F\x7F"s, 0x0FFFFFFF + 10}};
    for (const auto& [header, size] : cases)
        EXPECT_EQ(TagSizeFromHeader(B(header)), size) << header;
}

} // namespace
