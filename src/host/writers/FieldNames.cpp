#include "host/writers/FieldNames.h"

#include "host/session/TagBlob.h"
#include "support/text/Ascii.h"

#include <algorithm>

namespace host
{
namespace
{

constexpr FieldName kNames[] = {
    {"Album", "TALB", "ALBUM", "IPRD"},
    {"Album Artist", "TPE2", "ALBUMARTIST", ""},
    {"Album Artist Sort", "TSO2", "ALBUMARTISTSORT", ""},
    {"Album Sort", "TSOA", "ALBUMSORT", ""},
    {"Artist", "TPE1", "ARTIST", "IART"},
    {"Artist Sort", "TSOP", "ARTISTSORT", ""},
    {kCommentField, "COMM", "COMMENT", "ICMT"},
    {"Commercial information", "WCOM", "COMMERCIALINFORMATIONURL", ""},
    {"Compilation", "TCMP", "COMPILATION", ""},
    {"Composer", "TCOM", "COMPOSER", "IMUS"},
    {"ComposerSort", "TSOC", "COMPOSERSORT", ""},
    {"Conductor", "TPE3", "CONDUCTOR", ""},
    {"Copyright", "TCOP", "COPYRIGHT", "ICOP"},
    {"Copyright/Legal infromation", "WCOP", "COPYRIGHTURL", ""}, // spelt like this
    {"Disc", "TPOS", "DISCNUMBER", ""},
    {"Encoded by", "TENC", "ENCODEDBY", "ITCH"},
    {"Encoder Settings", "TSSE", "ENCODERSETTINGS", ""},
    {"File owner/licensee", "TOWN", "OWNER", ""},
    {"Genre", "TCON", "GENRE", "IGNR"},
    {"Initial key", "TKEY", "INITIALKEY", ""},
    {"Internet radio station name", "TRSN", "RADIOSTATION", ""},
    {"Internet radio station owner", "TRSO", "RADIOSTATIONOWNER", ""},
    {"Interpreted, remixed, or otherwise modified by", "TPE4", "REMIXER", ""},
    {"Involved People", "TIPL", "INVOLVEDPEOPLE", ""},
    {"ISRC", "TSRC", "ISRC", ""},
    {"Label", "TPUB", "LABEL", ""},
    {"Language(s)", "TLAN", "LANGUAGE", ""},
    {"Length", "TLEN", "LENGTH", ""},
    {"Lyricist/Text writer", "TEXT", "LYRICIST", ""},
    {"Lyrics", "USLT", "LYRICS", ""},
    {"Musician Credits", "TMCL", "MUSICIANCREDITS", ""},
    {"Official artist/performer webpage", "WOAR", "ARTISTWEBPAGE", ""},
    {"Official audio file webpage", "WOAF", "FILEWEBPAGE", ""},
    {"Official audio source webpage", "WOAS", "AUDIOSOURCEWEBPAGE", ""},
    {"Official internet radio station homepage", "WORS", "RADIOSTATIONWEBPAGE", ""},
    {"Original album/movie/show title", "TOAL", "ORIGINALALBUM", ""},
    {"Original artist(s)/performer(s)", "TOPE", "ORIGINALARTIST", ""},
    {"Original release year", "TDOR", "ORIGINALDATE", ""},
    {"Payment", "WPAY", "PAYMENTWEBPAGE", ""},
    {"Official publisher webpage", "WPUB", "PUBLISHERWEBPAGE", ""},
    {"Rating", "POPM", "RATING", ""},
    {"Release date", "TDRL", "RELEASEDATE", ""},
    {"Set subtitle", "TSST", "DISCSUBTITLE", ""},
    {"Source", "TMED", "MEDIA", "IMED"},
    {"Style", "TIT1", "GROUPING", ""},
    {"Subtitle", "TIT3", "SUBTITLE", ""},
    {"Tempo", "TBPM", "BPM", ""},
    {"Title", "TIT2", "TITLE", "INAM"},
    {"Title Sort", "TSOT", "TITLESORT", ""},
    {"Track", "TRCK", "TRACKNUMBER", "IPRT"},
    {kUserUrlField, "WXXX", "URL", ""},
    {"Year", "TDRC", "DATE", "ICRD"},
};

// Names that other programs use for the same.
struct OtherName {
    std::string_view other;
    std::string_view vorbis;
};

constexpr OtherName kOtherNames[] = {
    {"CONTENTGROUP", "GROUPING"},    {"DESCRIPTION", "COMMENT"}, {"ENCODER", "ENCODERSETTINGS"},
    {"ENCODING", "ENCODERSETTINGS"}, {"ORGANIZATION", "LABEL"},
};

} // namespace

const FieldName* FindVorbisName(std::string_view comment)
{
    for (const OtherName& row : kOtherNames) {
        if (EqualNoCase(row.other, comment))
            comment = row.vorbis;
    }
    const auto found =
        std::find_if(std::begin(kNames), std::end(kNames),
                     [comment](const auto& row) { return EqualNoCase(row.vorbis, comment); });
    return found == std::end(kNames) ? nullptr : &*found;
}

const FieldName* FindFieldName(std::string_view field)
{
    const auto found = std::find_if(std::begin(kNames), std::end(kNames), [field](const auto& row) {
        return EqualNoCase(row.field, field);
    });
    return found == std::end(kNames) ? nullptr : &*found;
}

std::string VorbisName(std::string_view field)
{
    const FieldName* row = FindFieldName(field);
    if (row != nullptr)
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

} // namespace host
