// SPDX-License-Identifier: MIT
#include "tags/id3parser/frames/FrameRules.h"

#include <algorithm>
#include <array>

namespace aiff::id3parser
{

namespace
{

using R = ReadRule;
using W = WriteRule;

constexpr std::string_view kYear = "Year";

constexpr Name_v2 Read(std::string_view name)
{
    return {name, Use_v2::Read};
}

constexpr Name_v2 CarriedOnly(std::string_view name)
{
    return {name, Use_v2::CarriedOnly};
}

constexpr FrameRule kFrameRules[] = {
    {FrameId("TIT1"), Read("TT1"), "Style", R::MultiValue, W::MultiValue},
    {FrameId("TIT2"), Read("TT2"), "Title", R::Single, W::Text},
    {FrameId("TIT3"), Read("TT3"), "Subtitle", R::Single, W::Text},
    {FrameId("TSST"), {}, "Set subtitle", R::Single, W::Text},
    {FrameId("TALB"), Read("TAL"), "Album", R::Single, W::Text},
    {FrameId("TSRC"), Read("TRC"), "ISRC", R::Single, W::Text},
    {FrameId("TENC"), Read("TEN"), "Encoded by", R::Single, W::Text},
    {FrameId("TCOP"), Read("TCR"), "Copyright", R::Single, W::Text},
    {FrameId("TPUB"), Read("TPB"), "Label", R::Single, W::Text},
    {FrameId("TOWN"), {}, "File owner/licensee", R::Single, W::Text},
    {FrameId("TRSN"), {}, "Internet radio station name", R::Single, W::Text},
    {FrameId("TRSO"), {}, "Internet radio station owner", R::Single, W::Text},
    {FrameId("TSSE"), Read("TSS"), "Encoder Settings", R::Single, W::Text},
    {FrameId("TBPM"), Read("TBP"), "Tempo", R::Single, W::Text},
    {FrameId("TMED"), CarriedOnly("TMT"), "Source", R::Single, W::Text},
    {FrameId("TKEY"), CarriedOnly("TKE"), "Initial key", R::Single, W::Text},
    {FrameId("TSOT"), CarriedOnly("TST"), "Title Sort", R::MultiValue, W::MultiValue},
    {FrameId("TSOP"), CarriedOnly("TSP"), "Artist Sort", R::MultiValue, W::MultiValue},
    {FrameId("TSOA"), CarriedOnly("TSA"), "Album Sort", R::MultiValue, W::MultiValue},
    {FrameId("TSO2"), CarriedOnly("TS2"), "Album Artist Sort", R::MultiValue, W::MultiValue},
    {FrameId("TSOC"), CarriedOnly("TSC"), "ComposerSort", R::MultiValue, W::MultiValue},
    {FrameId("TLEN"), CarriedOnly("TLE"), "Length", R::Single, W::Text},
    {FrameId("TLAN"), Read("TLA"), "Language(s)", R::Single, W::Text},
    {FrameId("USLT"), CarriedOnly("ULT"), "Lyrics", R::SecondString, W::Comment},
    {FrameId("TCON"), Read("TCO"), "Genre", R::Genre, W::Genre},
    {FrameId("WCOM"), Read("WCM"), "Commercial information", R::Url, W::Url},
    {FrameId("WCOP"), Read("WCP"), "Copyright/Legal infromation", R::Url, W::Url},
    {FrameId("WOAF"), Read("WAF"), "Official audio file webpage", R::Url, W::Url},
    {FrameId("WOAR"), Read("WAR"), "Official artist/performer webpage", R::Url, W::Url},
    {FrameId("WOAS"), Read("WAS"), "Official audio source webpage", R::Url, W::Url},
    {FrameId("WORS"), {}, "Official internet radio station homepage", R::Url, W::Url},
    {FrameId("WPAY"), {}, "Payment", R::Url, W::Url},
    {FrameId("WPUB"), Read("WPB"), "Official publisher webpage", R::Url, W::Url},
    {FrameId("TCMP"), CarriedOnly("TCP"), "Compilation", R::Single, W::Text},
    {FrameId("TYER"), Read("TYE"), kYear, R::Year, W::OldDate, Versions::Below24},
    // Reading TDA would change the year that is shown.
    {FrameId("TDAT"), CarriedOnly("TDA"), kYear, R::DayAndMonth, W::None, Versions::Below24},
    {FrameId("TORY"), CarriedOnly("TOR"), "Original release year", R::Single, W::Date,
     Versions::Below24},
    {FrameId("TRDA"), CarriedOnly("TRD"), "Recording dates", R::Single, W::Text, Versions::Below24},
    {FrameId("TDRC"), {}, kYear, R::Single, W::Date, Versions::From24},
    {FrameId("TDOR"), {}, "Original release year", R::Single, W::Date, Versions::From24},
    {FrameId("TIPL"), {}, "Involved People", R::Single, W::MultiValue, Versions::From24},
    {FrameId("TMCL"), {}, "Musician Credits", R::Single, W::MultiValue, Versions::From24},
    {FrameId("TDRL"), CarriedOnly("TDR"), "Release date", R::Single, W::Date},
    {FrameId("TRCK"), Read("TRK"), "Track", R::Single, W::Text},
    {FrameId("TPOS"), Read("TPA"), "Disc", R::Single, W::Text},
    {FrameId("TOPE"), Read("TOA"), "Original artist(s)/performer(s)", R::MultiValue, W::MultiValue},
    {FrameId("TOAL"), CarriedOnly("TOT"), "Original album/movie/show title", R::MultiValue,
     W::MultiValue},
    {FrameId("TPE1"), Read("TP1"), "Artist", R::MultiValue, W::MultiValue},
    {FrameId("TPE2"), Read("TP2"), "Album Artist", R::MultiValue, W::MultiValue},
    {FrameId("TPE3"), Read("TP3"), "Conductor", R::MultiValue, W::MultiValue},
    {FrameId("TPE4"), Read("TP4"), "Interpreted, remixed, or otherwise modified by", R::MultiValue,
     W::MultiValue},
    {FrameId("TCOM"), Read("TCM"), "Composer", R::MultiValue, W::MultiValue},
    {FrameId("TEXT"), Read("TXT"), "Lyricist/Text writer", R::MultiValue, W::MultiValue},
    {FrameId("POPM"), CarriedOnly("POP"), "Rating", R::Rating, W::Rating},
    {FrameId("WXXX"), Read("WXX"), "", R::UserUrl, W::None},
    {FrameId("COMM"), Read("COM"), "", R::Comment, W::None},
    {FrameId("TXXX"), Read("TXX"), "", R::UserText, W::None},
    // No field represents these; APIC frames are pictures.
    {FrameId("AENC"), CarriedOnly("CRA")},
    {FrameId("APIC"), Read("PIC")},
    {FrameId("EQUA"), CarriedOnly("EQU")},
    {FrameId("ETCO"), CarriedOnly("ETC")},
    {FrameId("GEOB"), CarriedOnly("GEO")},
    {FrameId("GRP1"), CarriedOnly("GP1")},
    {FrameId("IPLS"), CarriedOnly("IPL")},
    {kFrameLINK, CarriedOnly("LNK")},
    {FrameId("MCDI"), CarriedOnly("MCI")},
    {FrameId("MLLT"), CarriedOnly("MLL")},
    {FrameId("MVIN"), CarriedOnly("MVI")},
    {FrameId("MVNM"), CarriedOnly("MVN")},
    {FrameId("PCNT"), CarriedOnly("CNT")},
    {FrameId("PCST"), CarriedOnly("PCS")},
    {FrameId("RBUF"), CarriedOnly("BUF")},
    {FrameId("RVAD"), CarriedOnly("RVA")},
    {FrameId("RVRB"), CarriedOnly("REV")},
    {FrameId("SYLT"), CarriedOnly("SLT")},
    {FrameId("SYTC"), CarriedOnly("STC")},
    {FrameId("TCAT"), CarriedOnly("TCT")},
    {FrameId("TDES"), CarriedOnly("TDS")},
    {FrameId("TDLY"), CarriedOnly("TDY")},
    {FrameId("TFLT"), CarriedOnly("TFT")},
    {FrameId("TGID"), CarriedOnly("TID")},
    {FrameId("TIME"), CarriedOnly("TIM")},
    {FrameId("TKWD"), CarriedOnly("TKW")},
    {FrameId("TOFN"), CarriedOnly("TOF")},
    {FrameId("TOLY"), CarriedOnly("TOL")},
    {FrameId("TSIZ"), CarriedOnly("TSI")},
    {FrameId("UFID"), CarriedOnly("UFI")},
    {FrameId("WFED"), CarriedOnly("WFD")},
};

template <class Key>
constexpr auto RowsBy(Key key)
{
    auto rows = std::to_array(kFrameRules);
    std::ranges::sort(rows, {}, key);
    return rows;
}

constexpr auto kById = RowsBy(&FrameRule::id);
static_assert(std::ranges::adjacent_find(kById, {}, &FrameRule::id) == kById.end(),
              "a frame has one row");

constexpr std::string_view NameOf(const FrameRule& rule)
{
    return rule.name_v2.text;
}

constexpr auto kByName_v2 = RowsBy(NameOf);
static_assert(std::ranges::adjacent_find(kByName_v2,
                                         [](const FrameRule& a, const FrameRule& b) {
                                             return !NameOf(a).empty() && NameOf(a) == NameOf(b);
                                         }) == kByName_v2.end(),
              "an ID3v2.2 name has one row");

constexpr bool IsWrittenOnce(const FrameRule& rule)
{
    return std::ranges::count_if(kFrameRules, [&](const FrameRule& other) {
               return other.write != W::None && other.field == rule.field &&
                      (other.versions == rule.versions || other.versions == Versions::All ||
                       rule.versions == Versions::All);
           }) <= 1;
}
static_assert(std::ranges::all_of(kFrameRules, IsWrittenOnce),
              "in a revision one row writes a field");

uint32_t IdOf(std::string_view name, Use_v2 use)
{
    const auto* found = std::ranges::lower_bound(kByName_v2, name, {}, NameOf);
    return found != kByName_v2.end() && found->name_v2 == Name_v2{name, use} ? found->id : 0;
}

} // namespace

std::span<const FrameRule> FrameRules()
{
    return kFrameRules;
}

const FrameRule* RuleForFrame(uint32_t id)
{
    const auto* found = std::ranges::lower_bound(kById, id, {}, &FrameRule::id);
    return found != kById.end() && found->id == id && found->HasField() ? found : nullptr;
}

uint32_t translate_v2_id(const char* id3)
{
    return IdOf(id3, Use_v2::Read);
}

uint32_t CarriedId_v2(std::string_view name)
{
    return IdOf(name, Use_v2::CarriedOnly);
}

} // namespace aiff::id3parser
