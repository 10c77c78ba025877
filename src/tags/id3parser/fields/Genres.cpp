// SPDX-License-Identifier: MIT
#include "tags/id3parser/fields/Genres.h"

#include "support/text/Ascii.h"

#include <algorithm>

namespace aiff::id3parser
{

namespace
{

// The formatter would put each name on a line of its own.
// clang-format off
constexpr std::string_view GenreList[] = {
    "Blues", "Classic Rock", "Country", "Dance", "Disco",
    "Funk", "Grunge", "Hip-Hop", "Jazz", "Metal",
    "New Age", "Oldies", "Other", "Pop", "R&B",
    "Rap", "Reggae", "Rock", "Techno", "Industrial",
    "Alternative", "Ska", "Death Metal", "Pranks", "Soundtrack",
    "Euro-Techno", "Ambient", "Trip-Hop", "Vocal", "Jazz+Funk",
    "Fusion", "Trance", "Classical", "Instrumental", "Acid",
    "House", "Game", "Sound Clip", "Gospel", "Noise",
    "AlternRock", "Bass", "Soul", "Punk", "Space",
    "Meditative", "Instrumental Pop", "Instrumental Rock", "Ethnic", "Gothic",
    "Darkwave", "Techno-Industrial", "Electronic", "Pop-Folk", "Eurodance",
    "Dream", "Southern Rock", "Comedy", "Cult", "Gangsta",
    "Top 40", "Christian Rap", "Pop/Funk", "Jungle", "Native American",
    "Cabaret", "New Wave", "Psychadelic", "Rave", "Showtunes",
    "Trailer", "Lo-Fi", "Tribal", "Acid Punk", "Acid Jazz",
    "Polka", "Retro", "Musical", "Rock & Roll", "Hard Rock",
    "Folk", "Folk-Rock", "National Folk", "Swing", "Fast Fusion",
    "Bebob", "Latin", "Revival", "Celtic", "Bluegrass",
    "Avantgarde", "Gothic Rock", "Progressive Rock", "Psychedelic Rock", "Symphonic Rock",
    "Slow Rock", "Big Band", "Chorus", "Easy Listening", "Acoustic",
    "Humour", "Speech", "Chanson", "Opera", "Chamber Music",
    "Sonata", "Symphony", "Booty Bass", "Primus", "Porn Groove",
    "Satire", "Slow Jam", "Club", "Tango", "Samba",
    "Folklore", "Ballad", "Power Ballad", "Rhythmic Soul", "Freestyle",
    "Duet", "Punk Rock", "Drum Solo", "A capella", "Euro-House",
    "Dance Hall",
};
// clang-format on
static_assert(std::size(GenreList) == kGenreCount);

// The genre with the number at the front of `digits`, or `other`.
std::string GenreOfNumber(std::string_view digits, std::string_view other)
{
    size_t number = 0;
    for (size_t i = 0; i < digits.size() && IsAsciiDigit(digits[i]) && number < kGenreCount; ++i)
        number = number * 10 + static_cast<size_t>(digits[i] - '0');
    return std::string(number < kGenreCount ? GenreList[number] : other);
}

} // namespace

std::string unmangle_genre(std::string_view entry)
{
    if (entry.empty())
        return {};
    if (std::ranges::all_of(entry, IsAsciiDigit<char>))
        return GenreOfNumber(entry, entry);
    if (entry[0] != '(')
        return std::string(entry);
    const std::string_view rest = entry.substr(1);
    if (!rest.empty() && IsAsciiDigit(rest[0]))
        return GenreOfNumber(rest, {});
    if (rest.starts_with("RX)"))
        return "Remix";
    if (rest.starts_with("CR)"))
        return "Cover";
    return std::string(rest.starts_with('(') ? rest : std::string_view());
}

void ForEachGenreEntry(std::string_view text, const std::function<void(std::string_view)>& take)
{
    while (!text.empty()) {
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        const size_t end = text.find(kOldGenreSeparator);
        std::string_view entry = text.substr(0, end);
        if (end != std::string_view::npos)
            entry = entry.substr(0, entry.find_last_not_of(' ') + 1);
        take(entry);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

void unmangle_genres(std::string_view text, std::string_view field, FieldSink& sink)
{
    ForEachGenreEntry(text, [&](std::string_view entry) {
        if (const std::string genre = unmangle_genre(entry); !genre.empty())
            sink.add(field, genre);
    });
}

std::string_view GenreString(std::string_view entry)
{
    const bool isEnclosed = entry.starts_with('(') && entry.ends_with(')');
    const std::string_view inside = entry.substr(isEnclosed, entry.size() - 2 * isEnclosed);
    const bool isNumber = isEnclosed && std::ranges::all_of(inside, IsAsciiDigit<char>);
    return isNumber && !unmangle_genre(entry).empty() ? inside : entry;
}

std::string MangleGenre(std::string_view genre)
{
    return (genre.starts_with('(') ? "(" : "") + std::string(genre);
}

} // namespace aiff::id3parser
