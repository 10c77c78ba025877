// Every row of the table of frames, spelled out a second time and driven through reading,
// writing and editing. A row of the table without a case fails.
#include "TagBuilder.h"
#include "tags/id3parser/fields/FrameToMeta.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <gtest/gtest.h>

#include <map>

using namespace aiff;

namespace
{

// The name in ID3v2.2, in brackets when only an edit knows it; the identifier; the kind of
// frame; the revisions that know it; the field. In the order of writing.
constexpr const char* kCases = R"(
TT1 TIT1 multi 234 Style
TT2 TIT2 text 234 Title
TT3 TIT3 text 234 Subtitle
- TSST text 234 Set subtitle
TAL TALB text 234 Album
TRC TSRC text 234 ISRC
TEN TENC text 234 Encoded by
TCR TCOP text 234 Copyright
TPB TPUB text 234 Label
- TOWN text 234 File owner/licensee
- TRSN text 234 Internet radio station name
- TRSO text 234 Internet radio station owner
TSS TSSE text 234 Encoder Settings
TBP TBPM text 234 Tempo
(TMT) TMED text 234 Source
(TKE) TKEY text 234 Initial key
(TST) TSOT multi 234 Title Sort
(TSP) TSOP multi 234 Artist Sort
(TSA) TSOA multi 234 Album Sort
(TS2) TSO2 multi 234 Album Artist Sort
(TSC) TSOC multi 234 ComposerSort
(TLE) TLEN text 234 Length
TLA TLAN text 234 Language(s)
(ULT) USLT lyrics 234 Lyrics
TCO TCON genre 234 Genre
WCM WCOM url 234 Commercial information
WCP WCOP url 234 Copyright/Legal infromation
WAF WOAF url 234 Official audio file webpage
WAR WOAR url 234 Official artist/performer webpage
WAS WOAS url 234 Official audio source webpage
- WORS url 234 Official internet radio station homepage
- WPAY url 234 Payment
WPB WPUB url 234 Official publisher webpage
(TCP) TCMP text 234 Compilation
TYE TYER year 23 Year
- TDAT day 23 Year
(TOR) TORY date 23 Original release year
(TRD) TRDA text 23 Recording dates
- TDRC date 4 Year
- TDOR date 4 Original release year
- TIPL credits 4 Involved People
- TMCL credits 4 Musician Credits
- TDRL date 234 Release date
TRK TRCK text 234 Track
TPA TPOS text 234 Disc
TOA TOPE multi 234 Original artist(s)/performer(s)
(TOT) TOAL multi 234 Original album/movie/show title
TP1 TPE1 multi 234 Artist
TP2 TPE2 multi 234 Album Artist
TP3 TPE3 multi 234 Conductor
TP4 TPE4 multi 234 Interpreted, remixed, or otherwise modified by
TCM TCOM multi 234 Composer
TXT TEXT multi 234 Lyricist/Text writer
(POP) POPM rating 234 Rating
WXX WXXX userurl 234 User defined URL link k
COM COMM comment 234 Comment k
TXX TXXX usertext 234 k
(CRA) AENC none 234
PIC APIC picture 234 _albumart_1_Front Album Cover
(EQU) EQUA none 234
(ETC) ETCO none 234
(GEO) GEOB none 234
(IPL) IPLS none 234
(MCI) MCDI none 234
(MLL) MLLT none 234
(CNT) PCNT none 234
(BUF) RBUF none 234
(RVA) RVAD none 234
(REV) RVRB none 234
(SLT) SYLT none 234
(STC) SYTC none 234
(TDY) TDLY none 234
(TFT) TFLT none 234
(TIM) TIME none 234
(TOF) TOFN none 234
(TOL) TOLY none 234
(TSI) TSIZ none 234
(UFI) UFID none 234
)";

struct Case {
    std::string name22, id, kind, revisions;
    XStr field;

    bool IsCarriedOnly() const { return name22[0] == '('; }
    std::string Name22() const { return IsCarriedOnly() ? name22.substr(1, 3) : name22; }
    bool IsKnownIn(int revision) const
    {
        return revisions.find(std::to_string(revision)) != revisions.npos;
    }
};

std::vector<Case> Cases()
{
    std::vector<Case> cases;
    std::istringstream lines(kCases);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        Case row;
        std::string field;
        if (words >> row.name22 >> row.id >> row.kind >> row.revisions) {
            std::getline(words >> std::ws, field);
            row.field = FromUtf8(field);
            cases.push_back(row);
        }
    }
    return cases;
}

// What a kind of frame says, and how a value is written; '%' is the frame's name.
struct Probe {
    std::string frames;
    XStr read3, read4;
    XStr value;
    std::string written3, written4;
};

const std::string kTwoTexts = "%:a/b|%:c\0d"s;
const std::multimap<std::string, Probe> kProbes = {
    {"text", {kTwoTexts, L"a/b\rc", L"a/b\rc", L"1\r2", "%^1\r2", "%^1\r2"}},
    {"text", {"%:e", L"e", L"e", L"12", "%^12", "%^12"}},
    {"multi", {kTwoTexts, L"a\rb\rc\rd", L"a/b\rc\rd", L"x\ry", "%^x/y", "%^x^y"}},
    {"credits", {kTwoTexts, L"a/b\rc", L"a/b\rc", L"x\ry", "", "%^x^y"}},
    {"date", {kTwoTexts, L"a/b\rc", L"a/b\rc", L"2001", "%:2001\0"s, "%:2001\0"s}},
    {"year", {"%:2004", L"2004", L"2004", L"2004-03-15", "%:2004\0|TDAT:1503\0"s, ""}},
    {"day", {"%:1503", L"0000-03-15", L"0000-03-15", L"", "", ""}},
    {"url", {"%=a/b|%=c\0d"s, L"a/b\rc", L"a/b\rc", L"x\ry", "%=x|%=y", "%=x|%=y"}},
    {"lyrics", {"%:engk\0a/b"s, L"a/b", L"a/b", L"x\ry", "%^^x\ry", "%^^x\ry"}},
    {"genre", {"%:17;8", L"Rock\rJazz", L"17;8", L"Rock\r(x", "%^Rock;((x", "%^Rock^((x"}},
    {"rating",
     {"%=a\0\x20"s, L"3", L"3", L"9", "%=Windows Media Player 9 Series\0\xE4"s,
      "%=Windows Media Player 9 Series\0\xE4"s}},
    {"comment", {"%:engk\0a/b"s, L"a/b", L"a/b", L"x\ry", "%^k^x|%^k^y", "%^k^x|%^k^y"}},
    {"usertext", {"%:k\0a/b"s, L"a/b", L"a/b", L"x\ry", "%^k^x|%^k^y", "%^k^x^y"}},
    {"userurl",
     {"%:k\0a/b"s, L"a/b", L"a/b", L"x", "%=\1\xFF\xFEk\0\0\0x"s, "%=\1\xFF\xFEk\0\0\0x"s}},
    // In ID3v2.2 a format of three characters, later a MIME type that ends with a zero.
    {"picture", {"%:PN\0\3\0data"s, L"data", L"data", L"x", "%:\0\3\0x"s, "%:\0\3\0x"s}},
    {"none", {"%=a/b", L"", L"", L"", "", ""}}};

std::string Named(std::string notes, const std::string& name)
{
    for (size_t mark; (mark = notes.find('%')) != notes.npos;)
        notes.replace(mark, 1, name);
    return notes;
}

XStr Item(const Case& row, const XStr& value)
{
    return row.field.empty() ? L"" : row.field + L"=" + value + L";";
}

// Runs `check(row, probe)` for every case with every probe of its kind.
template <class Check>
void ForEveryRow(Check check)
{
    for (const Case& row : Cases()) {
        SCOPED_TRACE(row.id);
        const auto [first, last] = kProbes.equal_range(row.kind);
        ASSERT_NE(first, last) << row.kind;
        for (auto probe = first; probe != last; ++probe)
            check(row, probe->second);
    }
}

Bytes Written(const XStr& items, int revision)
{
    return Update(
        {}, ListOf(items),
        {L"ID3v2EncodeUni", L"WriteStrictYearDate", revision == 4 ? L"ID3v2WriteV24" : L""});
}

TEST(FrameTable, EveryRowHasACase)
{
    std::map<std::string, std::string> names;
    for (const Case& row : Cases())
        EXPECT_TRUE(names.emplace(row.id, row.name22 == "-" ? "" : row.Name22()).second) << row.id;
    for (const id3parser::FrameRule& rule : id3parser::FrameRules()) {
        const std::string id = SizeBytes(rule.id, 8, 4);
        ASSERT_TRUE(names.contains(id)) << id;
        EXPECT_EQ(rule.name_v2.text, names[id]) << id;
    }
    EXPECT_EQ(id3parser::FrameRules().size(), names.size());
}

TEST(FrameTable, EveryRowIsRead)
{
    ForEveryRow([](const Case& row, const Probe& probe) {
        const std::string notes = Named(probe.frames, row.id);
        EXPECT_EQ(Read(Tag(3, notes)), Item(row, probe.read3));
        EXPECT_EQ(Read(Tag(4, notes)), Item(row, probe.read4));
        const std::string one = notes.substr(0, notes.find('|'));
        for (uint8_t revision = 2; revision <= 4; ++revision) {
            const auto readStrictly = [&] {
                id3parser::metaMap map;
                frame_to_infos(Frame(one), id3parser::t_tagRevision{revision}, map, true);
            };
            if (row.IsKnownIn(revision))
                EXPECT_NO_THROW(readStrictly()) << int{revision};
            else
                EXPECT_THROW(readStrictly(), id3parser::parseError) << int{revision};
        }
    });
}

TEST(FrameTable, EveryRowIsWritten)
{
    ForEveryRow([](const Case& row, const Probe& probe) {
        for (const int revision : {3, 4}) {
            const Bytes tag = Written(Item(row, probe.value), revision);
            const std::string& frames = revision == 3 ? probe.written3 : probe.written4;
            if (row.IsKnownIn(revision))
                EXPECT_EQ(Parsed(tag), Parsed(Tag(revision, Named(frames, row.id)))) << revision;
            else
                EXPECT_EQ(S(tag).find(row.id), std::string::npos) << revision;
        }
    });
}

TEST(FrameTable, RowsAreWrittenInTheirOrder)
{
    for (const int revision : {3, 4}) {
        XStr items;
        std::string order, written;
        for (const Case& row : Cases()) {
            if (row.id == "WXXX") // what follows is written by the field's name
                break;
            if (row.IsKnownIn(revision)) {
                order += row.id + " ";
                items = Item(row, kProbes.find(row.kind)->second.value) + items;
            }
        }
        const Bytes tag = Written(items, revision);
        id3parser::t_tag parsed;
        id3parser::parseCallback everything;
        parsed.Parse_MemBlock(tag.data(), tag.size(), everything);
        for (const id3parser::t_frame& frame : parsed.Frames())
            if (const std::string id = SizeBytes(frame.id, 8, 4) + " "; !written.ends_with(id))
                written += id;
        EXPECT_EQ(written, order);
    }
}

TEST(FrameTable, NamesOfID3v22AreReadOrOnlyCarriedOver)
{
    ForEveryRow([](const Case& row, const Probe& probe) {
        if (row.name22 == "-")
            return;
        const Bytes old = Tag(2, Named(probe.frames, row.Name22()));
        const std::string id = row.IsCarriedOnly() ? "0" : row.id;
        EXPECT_TRUE(Parsed(old).starts_with("2 " + id)) << Parsed(old);
        EXPECT_EQ(Read(old), row.IsCarriedOnly() ? L"" : Item(row, probe.read3));
        const Bytes edited = Update({old}, {});
        EXPECT_TRUE(Parsed(edited).starts_with("3 " + row.id)) << Parsed(edited);
        EXPECT_EQ(Read(edited), Item(row, probe.read3));
    });
    for (const char* name : {"TDA", "LNK", "CRM", "XYZ", "tt2"}) {
        const Bytes old = Tag(2, name + ":1503"s);
        EXPECT_EQ(Parsed(old), "2 0:1503") << name;
        EXPECT_EQ(ContentOf(Update({old}, {})), "") << name;
    }
}

} // namespace
