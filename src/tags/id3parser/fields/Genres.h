// SPDX-License-Identifier: MIT

// Genres: the numbered list of ID3v1 and the forms of the TCON frame.
#pragma once

#include "tags/id3parser/fields/MetaMap.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace aiff::id3parser
{

inline constexpr size_t kGenreCount = 126;

// The genre that one entry of a TCON string means: "17" and "(17)" are Rock, "(RX)"
// is Remix, "((x" is "(x". Empty when it means none.
std::string unmangle_genre(std::string_view entry);

// Calls `take` with each entry of a TCON string below ID3v2.4, which separates them by
// semicolons, without the blanks around it. An entry may be empty.
void ForEachGenreEntry(std::string_view text, const std::function<void(std::string_view)>& take);

// Adds the genres that a TCON string below ID3v2.4 lists to a field.
void unmangle_genres(std::string_view text, std::string_view field, FieldSink& sink);

// An entry as the ID3v2.4 string that means the same: numbers have no parentheses there.
std::string_view GenreString(std::string_view entry);

// The entry that is read as `genre`: what begins with "(" is escaped.
std::string MangleGenre(std::string_view genre);

} // namespace aiff::id3parser
