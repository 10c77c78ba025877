#include "host/writers/TagNames.h"

#include "support/text/Ascii.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

constexpr TagNames kRows[] = {
    {"Album", "TALB", "ALBUM", "IPRD"},
    {"Album Artist", "TPE2", "ALBUMARTIST"},
    {"Album Artist Sort", "TSO2", "ALBUMARTISTSORT"},
    {"Album Sort", "TSOA", "ALBUMSORT"},
    {"Artist", "TPE1", "ARTIST", "IART"},
    {"Artist Sort", "TSOP", "ARTISTSORT"},
    {kCommentField, "COMM", "COMMENT", "ICMT", {"DESCRIPTION"}},
    {"Commercial information", "WCOM", "COMMERCIALINFORMATIONURL"},
    {"Compilation", "TCMP", "COMPILATION"},
    {"Composer", "TCOM", "COMPOSER", "IMUS"},
    {"ComposerSort", "TSOC", "COMPOSERSORT"},
    {"Conductor", "TPE3", "CONDUCTOR"},
    {"Copyright", "TCOP", "COPYRIGHT", "ICOP"},
    {"Copyright/Legal infromation", "WCOP", "COPYRIGHTURL"}, // spelt like this
    {"Disc", "TPOS", "DISCNUMBER", "", {}, {"DISCTOTAL", "TOTALDISCS"}},
    {"Encoded by", "TENC", "ENCODEDBY", "ITCH"},
    {"Encoder Settings", "TSSE", "ENCODERSETTINGS", "", {"ENCODER", "ENCODING"}},
    {"File owner/licensee", "TOWN", "OWNER"},
    {"Genre", "TCON", "GENRE", "IGNR"},
    {"Initial key", "TKEY", "INITIALKEY"},
    {"Internet radio station name", "TRSN", "RADIOSTATION"},
    {"Internet radio station owner", "TRSO", "RADIOSTATIONOWNER"},
    {"Interpreted, remixed, or otherwise modified by", "TPE4", "REMIXER"},
    {"Involved People", "TIPL", "INVOLVEDPEOPLE"},
    {"ISRC", "TSRC", "ISRC"},
    {"Label", "TPUB", "LABEL", "", {"ORGANIZATION"}},
    {"Language(s)", "TLAN", "LANGUAGE"},
    {"Length", "TLEN", "LENGTH"},
    {"Lyricist/Text writer", "TEXT", "LYRICIST"},
    {"Lyrics", "USLT", "LYRICS"},
    {"Musician Credits", "TMCL", "MUSICIANCREDITS"},
    {"Official artist/performer webpage", "WOAR", "ARTISTWEBPAGE"},
    {"Official audio file webpage", "WOAF", "FILEWEBPAGE"},
    {"Official audio source webpage", "WOAS", "AUDIOSOURCEWEBPAGE"},
    {"Official internet radio station homepage", "WORS", "RADIOSTATIONWEBPAGE"},
    {"Original album/movie/show title", "TOAL", "ORIGINALALBUM"},
    {"Original artist(s)/performer(s)", "TOPE", "ORIGINALARTIST"},
    {"Original release year", "TDOR", "ORIGINALDATE"},
    {"Payment", "WPAY", "PAYMENTWEBPAGE"},
    {"Official publisher webpage", "WPUB", "PUBLISHERWEBPAGE"},
    {"Rating", "POPM", "RATING"},
    {"Release date", "TDRL", "RELEASEDATE"},
    {"Set subtitle", "TSST", "DISCSUBTITLE"},
    {"Source", "TMED", "MEDIA", "IMED"},
    {"Style", "TIT1", "GROUPING", "", {"CONTENTGROUP"}},
    {"Subtitle", "TIT3", "SUBTITLE"},
    {"Tempo", "TBPM", "BPM"},
    {"Title", "TIT2", "TITLE", "INAM"},
    {"Title Sort", "TSOT", "TITLESORT"},
    {"Track", "TRCK", "TRACKNUMBER", "IPRT", {}, {"TRACKTOTAL", "TOTALTRACKS"}},
    {kUserUrlField, "WXXX", "URL"},
    {"Year", "TDRC", "DATE", "ICRD"},
};

bool IsOneOf(std::string_view name, std::span<const std::string_view> names)
{
    return std::ranges::any_of(
        names, [name](std::string_view one) { return !one.empty() && EqualNoCase(one, name); });
}

template <class Condition>
const TagNames* FindRow(Condition condition)
{
    const auto* const found = std::ranges::find_if(kRows, condition);
    return found == std::end(kRows) ? nullptr : found;
}

} // namespace

std::span<const TagNames> AllTagNames()
{
    return kRows;
}

const TagNames* FindTagNames(std::string_view field)
{
    return FindRow([field](const TagNames& row) { return EqualNoCase(row.field, field); });
}

const TagNames* FindVorbisName(std::string_view comment)
{
    return FindRow([comment](const TagNames& row) {
        return EqualNoCase(row.vorbis, comment) || IsOneOf(comment, row.aliases);
    });
}

std::string VorbisName(std::string_view field)
{
    if (const TagNames* row = FindTagNames(field); row != nullptr)
        return std::string(row->vorbis);
    std::string name(field);
    for (char& c : name) {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
        else if (c < ' ' || c > '}' || c == '=') // bytes from 0x80 on are negative, too
            c = '_';
    }
    return name;
}

} // namespace aiff::host
