// What the fields of a decoder's tags are called in the files that aiffconv writes and reads.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace aiff::host
{

// The names of one field; empty where a format has none.
struct TagNames {
    std::string_view field;  // of a decoder's tags
    std::string_view frame;  // ID3v2.4
    std::string_view vorbis; // Vorbis comment
    std::string_view info{}; // RIFF INFO
    // Vorbis comments that mean the same.
    std::array<std::string_view, 2> aliases{};
    // Vorbis comments that hold the 12 of "3/12"; the first one is written.
    std::array<std::string_view, 2> totals{};

    bool HasTotal() const { return !totals.front().empty(); }
};

// Fields that a description may follow: "Comment Mood" is a comment described as "Mood".
inline constexpr std::string_view kCommentField = "Comment";
inline constexpr std::string_view kUserUrlField = "User defined URL link";

std::span<const TagNames> AllTagNames();

// Null for a field that has no row: other formats use its own name.
const TagNames* FindTagNames(std::string_view field);

// The row of a Vorbis comment or of an alias of it; null when there is none.
const TagNames* FindVorbisName(std::string_view comment);

// The Vorbis comment of any field: in capitals, "_" for what such a name cannot hold.
std::string VorbisName(std::string_view field);

} // namespace aiff::host
