// SPDX-License-Identifier: MIT

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
// frame with the revisions that know it unless all do; the field. In the order of writing.
constexpr const char* kCases = R"(
TT1 TIT1 multi Style; TT2 TIT2 text Title; TT3 TIT3 text Subtitle; - TSST text Set subtitle;
TAL TALB text Album; TRC TSRC text ISRC; TEN TENC text Encoded by; TCR TCOP text Copyright;
TPB TPUB text Label; - TOWN text File owner/licensee; - TRSN text Internet radio station name;
- TRSO text Internet radio station owner; TSS TSSE text Encoder Settings; TBP TBPM text Tempo;
(TMT) TMED text Source; (TKE) TKEY text Initial key; (TST) TSOT multi Title Sort;
(TSP) TSOP multi Artist Sort; (TSA) TSOA multi Album Sort; (TS2) TSO2 multi Album Artist Sort;
(TSC) TSOC multi ComposerSort; (TLE) TLEN text Length; TLA TLAN text Language(s);
(ULT) USLT lyrics Lyrics; TCO TCON genre Genre; WCM WCOM url Commercial information;
WCP WCOP url Copyright/Legal infromation; WAF WOAF url Official audio file webpage;
WAR WOAR url Official artist/performer webpage; WAS WOAS url Official audio source webpage;
- WORS url Official internet radio station homepage; - WPAY url Payment;
WPB WPUB url Official publisher webpage; (TCP) TCMP text Compilation; TYE TYER year23 Year;
(TDA) TDAT day23 Year; (TOR) TORY date23 Original release year; (TRD) TRDA text23 Recording dates;
- TDRC date4 Year; - TDOR date4 Original release year; - TIPL credits4 Involved People;
- TMCL credits4 Musician Credits; (TDR) TDRL date Release date; TRK TRCK text Track;
TPA TPOS text Disc; TOA TOPE multi Original artist(s)/performer(s);
(TOT) TOAL multi Original album/movie/show title; TP1 TPE1 multi Artist;
TP2 TPE2 multi Album Artist; TP3 TPE3 multi Conductor;
TP4 TPE4 multi Interpreted, remixed, or otherwise modified by; TCM TCOM multi Composer;
TXT TEXT multi Lyricist/Text writer; (POP) POPM rating Rating;
WXX WXXX userurl User defined URL link k; COM COMM comment Comment k; TXX TXXX usertext k;
(CRA) AENC none; PIC APIC picture _albumart_1_Front Album Cover; (EQU) EQUA none;
(ETC) ETCO none; (GEO) GEOB none; (GP1) GRP1 none; (IPL) IPLS none; (LNK) LINK none; (MCI) MCDI none; (MLL) MLLT none;
(MVI) MVIN none; (MVN) MVNM none;
(CNT) PCNT none; (PCS) PCST none; (BUF) RBUF none; (RVA) RVAD none; (REV) RVRB none; (SLT) SYLT none;
(STC) SYTC none; (TCT) TCAT none; (TDS) TDES none; (TDY) TDLY none; (TFT) TFLT none; (TID) TGID none; (TIM) TIME none; (TKW) TKWD none; (TOF) TOFN none;
(TOL) TOLY none; (TSI) TSIZ none; (UFI) UFID none; (WFD) WFED none)";

struct Case {
    std::string name22, id, kind, revisions;
    XStr field;

    bool IsCarriedOnly() const { return name22[0] == '('; }
    std::string Name22() const { return IsCarriedOnly() ? name22.substr(1, 3) : name22; }
    bool IsKnownIn(int revision) const
    {
        return revisions.empty() || revisions.find(std::to_string(revision)) != revisions.npos;
    }
};

std::vector<Case> Cases()
{
    std::vector<Case> cases;
    std::istringstream in(kCases);
    for (std::string text; std::getline(in, text, ';');) {
        std::istringstream words(text);
        std::string name22, id, kind, field;
        words >> name22 >> id >> kind;
        std::getline(words >> std::ws, field);
        const size_t letters = std::min(kind.find_first_of("234"), kind.size());
        cases.push_back(
            {name22, id, kind.substr(0, letters), kind.substr(letters), FromUtf8(field)});
    }
    return cases;
}

// What reading shows of a kind of frame, and how a value is written; '%' is the frame's name.
struct Probe {
    std::string frames;
    XStr read3, value;
    std::string written3, written4 = written3;
    XStr read4 = read3;
};

const std::string kTwoTexts = "%:a/b|%:c~d";
const std::multimap<std::string, Probe> kProbes = {
    {"text", {kTwoTexts, L"a/b\rc", L"1\r2", "%^1\r2"}},
    {"text", {"%:e", L"e", L"12", "%^12"}},
    {"multi", {kTwoTexts, L"a\rb\rc\rd", L"x\ry", "%^x/y", "%^x^y", L"a/b\rc\rd"}},
    {"credits", {kTwoTexts, L"a/b\rc", L"x\ry", "", "%^x^y"}},
    {"date", {kTwoTexts, L"a/b\rc", L"2001", "%:2001~"}},
    {"year", {"%:2004", L"2004", L"2004-03-15", "%:2004~|TDAT:1503~"}},
    {"day", {"%:1503", L"0000-03-15", L"", ""}},
    {"url", {"%=a/b|%=c~d", L"a/b\rc", L"x\ry", "%=x|%=y"}},
    {"lyrics", {"%:engk~a/b", L"a/b", L"x\ry", "%^^x\ry"}},
    {"genre", {"%:17;8", L"Rock\rJazz", L"Rock\r(x", "%^Rock;((x", "%^Rock^((x", L"17;8"}},
    {"rating", {"%=a~ ", L"3", L"9", "%=Windows Media Player 9 Series~\xE4"}},
    {"comment", {"%:engk~a/b", L"a/b", L"x\ry", "%^k^x|%^k^y"}},
    {"usertext", {"%:k~a/b", L"a/b", L"x\ry", "%^k^x|%^k^y", "%^k^x^y"}},
    {"userurl", {"%:k~a/b", L"a/b", L"x", "%=\1\xFF\xFEk~~~x"}},
    // In ID3v2.2 a format of three characters, later a MIME type that ends with a zero.
    {"picture", {"%:PN~\3~data", L"data", L"x", "%:~\3~x"}},
    {"none", {"%=TT2", L"", L"", ""}}};

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
    const wchar_t* version = revision == 4 ? L"ID3v2WriteV24" : L"";
    return Update({}, ListOf(items), {L"ID3v2EncodeUni", L"WriteStrictYearDate", version});
}

TEST(FrameTable, EveryRowHasACase)
{
    std::map<std::string, std::string> names, rows;
    for (const Case& row : Cases())
        EXPECT_TRUE(names.emplace(row.id, row.name22 == "-" ? "" : row.Name22()).second) << row.id;
    for (const id3parser::FrameRule& rule : id3parser::FrameRules())
        rows.emplace(SizeBytes(rule.id, 8, 4), rule.name_v2.text);
    EXPECT_EQ(rows, names);
    EXPECT_EQ(id3parser::FrameRules().size(), names.size());
}

TEST(FrameTable, EveryRowIsReadAndWritten)
{
    ForEveryRow([](const Case& row, const Probe& probe) {
        const std::string notes = Named(probe.frames, row.id);
        EXPECT_EQ(Read(Tag(3, notes)), Item(row, probe.read3));
        EXPECT_EQ(Read(Tag(4, notes)), Item(row, probe.read4));
        for (uint8_t revision = 2; revision <= 4; ++revision) {
            bool isKnown = true;
            try {
                id3parser::metaMap map;
                const auto frame = Frame(notes.substr(0, notes.find('|')));
                frame_to_infos(frame, id3parser::t_tagRevision{revision}, map, true);
            } catch (const id3parser::parseError&) {
                isKnown = false;
            }
            EXPECT_EQ(isKnown, row.IsKnownIn(revision)) << int{revision};
        }
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
        std::string order;
        for (const Case& row : Cases()) {
            if (row.id == "WXXX") // what follows is written by the field's name
                break;
            const Probe& probe = kProbes.lower_bound(row.kind)->second;
            const std::string& frames = revision == 3 ? probe.written3 : probe.written4;
            if (row.IsKnownIn(revision) && !frames.empty()) {
                order += (order.empty() ? "" : "|") + Named(frames, row.id);
                items = Item(row, probe.value) + items;
            }
        }
        EXPECT_EQ(Parsed(Written(items, revision)), Parsed(Tag(revision, order)));
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
    for (const char* name : {"CRM", "XYZ", "tt2"}) {
        const Bytes old = Tag(2, name + ":1503"s);
        EXPECT_EQ(Parsed(old), "2 0:1503") << name;
        EXPECT_EQ(ContentOf(Update({old}, {})), "") << name;
    }
}

} // namespace
