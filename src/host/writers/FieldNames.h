#pragma once

#include <string>
#include <string_view>

namespace host
{

// How a field of a decoder's tags is called elsewhere; an empty name where there is
// none.
struct FieldName {
    std::string_view field;
    std::string_view frame;  // ID3v2.4
    std::string_view vorbis; // Vorbis comment
    std::string_view info;   // RIFF INFO
};

// Fields with a text behind their name: "Comment Mood" is a comment described "Mood".
inline constexpr std::string_view kCommentField = "Comment";
inline constexpr std::string_view kUserUrlField = "User defined URL link";

// Null for a field without names of its own; it keeps the one it has.
const FieldName* FindFieldName(std::string_view field);

// The field that a Vorbis comment stands for, also under a name less usual; null for none.
const FieldName* FindVorbisName(std::string_view comment);

// The Vorbis comment of any field: in capitals, "_" for what such a name cannot hold.
std::string VorbisName(std::string_view field);

} // namespace host
