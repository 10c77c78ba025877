// SPDX-License-Identifier: MIT

// Fields that need a treatment of their own, told by their names. Names are compared
// without regard to the case of ASCII letters.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace aiff::id3parser
{

inline constexpr std::string_view kFieldComment = "Comment";
inline constexpr std::string_view kFieldUserUrl = "User defined URL link";

inline constexpr std::string_view kReplayGainFields[] = {
    "replaygain_track_gain", "replaygain_track_peak", "replaygain_album_gain",
    "replaygain_album_peak"};

bool IsRGMeta(std::string_view field);
// A gain or peak holds at least one digit.
bool IsSaneRGVal(std::string_view value);

// User text fields whose values ID3v2.3 keeps in one frame, joined with "/".
inline constexpr std::string_view kSlashFields[] = {"Soloist", "SoloistSort", "Soloists",
                                                    "SoloistsSort", "ConductorSort"};
bool isFieldNameSlashTXXX(std::string_view field);

// Removes a counter at the end: "Artist[2]" becomes "Artist". A name that is nothing
// but a counter stays.
void multiTXXX_undecorate(std::string& field);

// The prefix alone, or the prefix, a blank and the description.
std::string FieldWithDescription(std::string_view prefix, std::string_view description);

// Remove "Comment" or "User defined URL link" and the blanks after it from the front;
// false for a name that does not begin with it.
bool skip_comment_prefix(std::string_view& field);
bool skip_www_prefix(std::string_view& field);

// The name under which a field is read again after it was written as `field`.
std::string CanonicalField(std::string_view field);

// Comments of iTunes: the spelling it looks for, descriptions that are its own,
// and texts made of hexadecimal numbers.
std::string commNameSanity(std::string_view description);
bool IsItunesCrap(std::string_view description);
bool iTunIsNumeric(std::string_view text);

// Ratings from 0 to 10 and the bytes of a POPM frame. A byte means the smallest rating
// whose own byte is not below it.
int POPMToRating(uint8_t byte);
uint8_t ratingToPOPM(int rating);

} // namespace aiff::id3parser
