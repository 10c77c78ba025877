#include "tags/id3parser/frames/FrameRules.h"

#include <algorithm>
#include <array>

namespace id3parser
{

namespace
{

using R = ReadRule;
using W = WriteRule;

constexpr FrameRule kFrameRules[] = {
    {FrameId("TIT1"), "Style", R::MultiValue, W::MultiValue},
    {FrameId("TIT2"), "Title", R::Single, W::Text},
    {FrameId("TIT3"), "Subtitle", R::Single, W::Text},
    {FrameId("TSST"), "Set subtitle", R::Single, W::Text},
    {FrameId("TALB"), "Album", R::Single, W::Text},
    {FrameId("TSRC"), "ISRC", R::Single, W::Text},
    {FrameId("TENC"), "Encoded by", R::Single, W::Text},
    {FrameId("TCOP"), "Copyright", R::Single, W::Text},
    {FrameId("TPUB"), "Label", R::Single, W::Text},
    {FrameId("TOWN"), "File owner/licensee", R::Single, W::Text},
    {FrameId("TRSN"), "Internet radio station name", R::Single, W::Text},
    {FrameId("TRSO"), "Internet radio station owner", R::Single, W::Text},
    {FrameId("TSSE"), "Encoder Settings", R::Single, W::Text},
    {FrameId("TBPM"), "Tempo", R::Single, W::Text},
    {FrameId("TMED"), "Source", R::Single, W::Text},
    {FrameId("TKEY"), "Initial key", R::Single, W::Text},
    {FrameId("TSOT"), "Title Sort", R::MultiValue, W::MultiValue},
    {FrameId("TSOP"), "Artist Sort", R::MultiValue, W::MultiValue},
    {FrameId("TSOA"), "Album Sort", R::MultiValue, W::MultiValue},
    {FrameId("TSO2"), "Album Artist Sort", R::MultiValue, W::MultiValue},
    {FrameId("TSOC"), "ComposerSort", R::MultiValue, W::MultiValue},
    {FrameId("TLEN"), "Length", R::Single, W::Text},
    {FrameId("TLAN"), "Language(s)", R::Single, W::Text},
    {FrameId("USLT"), "Lyrics", R::SecondString, W::Comment},
    {FrameId("TCON"), "Genre", R::Genre, W::Genre},
    {FrameId("WCOM"), "Commercial information", R::Url, W::Url},
    {FrameId("WCOP"), "Copyright/Legal infromation", R::Url, W::Url},
    {FrameId("WOAF"), "Official audio file webpage", R::Url, W::Url},
    {FrameId("WOAR"), "Official artist/performer webpage", R::Url, W::Url},
    {FrameId("WOAS"), "Official audio source webpage", R::Url, W::Url},
    {FrameId("WORS"), "Official internet radio station homepage", R::Url, W::Url},
    {FrameId("WPAY"), "Payment", R::Url, W::Url},
    {FrameId("WPUB"), "Official publisher webpage", R::Url, W::Url},
    {FrameId("TCMP"), "Compilation", R::Single, W::Text},
    {FrameId("TYER"), kFieldYear, R::Year, W::OldDate, Versions::Below24},
    {FrameId("TDAT"), kFieldYear, R::DayAndMonth, W::None, Versions::Below24},
    {FrameId("TORY"), "Original release year", R::Single, W::Date, Versions::Below24},
    {FrameId("TRDA"), "Recording dates", R::Single, W::Text, Versions::Below24},
    {FrameId("TDRC"), kFieldYear, R::Single, W::Date, Versions::From24},
    {FrameId("TDOR"), "Original release year", R::Single, W::Date, Versions::From24},
    {FrameId("TIPL"), "Involved People", R::Single, W::MultiValue, Versions::From24},
    {FrameId("TMCL"), "Musician Credits", R::Single, W::MultiValue, Versions::From24},
    {FrameId("TDRL"), "Release date", R::Single, W::Date},
    {FrameId("TRCK"), "Track", R::Single, W::Text},
    {FrameId("TPOS"), "Disc", R::Single, W::Text},
    {FrameId("TOPE"), "Original artist(s)/performer(s)", R::MultiValue, W::MultiValue},
    {FrameId("TOAL"), "Original album/movie/show title", R::MultiValue, W::MultiValue},
    {FrameId("TPE1"), "Artist", R::MultiValue, W::MultiValue},
    {FrameId("TPE2"), "Album Artist", R::MultiValue, W::MultiValue},
    {FrameId("TPE3"), "Conductor", R::MultiValue, W::MultiValue},
    {FrameId("TPE4"), "Interpreted, remixed, or otherwise modified by", R::MultiValue,
     W::MultiValue},
    {FrameId("TCOM"), "Composer", R::MultiValue, W::MultiValue},
    {FrameId("TEXT"), "Lyricist/Text writer", R::MultiValue, W::MultiValue},
    {FrameId("POPM"), kFieldRating, R::Rating, W::Rating},
    {FrameId("WXXX"), "", R::UserUrl, W::None},
    {FrameId("COMM"), "", R::Comment, W::None},
    {FrameId("TXXX"), "", R::UserText, W::None},
};

constexpr bool IdBefore(const FrameRule& a, const FrameRule& b)
{
    return a.id < b.id;
}

constexpr auto SortedById()
{
    std::array<FrameRule, std::size(kFrameRules)> rows{};
    std::ranges::copy(kFrameRules, rows.begin());
    std::ranges::sort(rows, IdBefore);
    return rows;
}

constexpr auto kById = SortedById();
static_assert(std::ranges::adjacent_find(kById, [](const FrameRule& a,
                                                   const FrameRule& b) { return a.id == b.id; }) ==
                  kById.end(),
              "a frame has one row");

} // namespace

std::span<const FrameRule> FrameRules()
{
    return kFrameRules;
}

const FrameRule* RuleForFrame(uint32_t id)
{
    const auto* found = std::ranges::lower_bound(kById, id, {}, &FrameRule::id);
    return found != kById.end() && found->id == id ? found : nullptr;
}

} // namespace id3parser
