// SPDX-License-Identifier: MIT

// The names of text fields where TagLib's property map knows none, or has others.
//
// A field is known by the name of its property in TagLib, such as "ALBUMARTIST". Vorbis
// comments have the same names.
#pragma once

#include <array>
#include <span>
#include <string_view>

namespace aiff::host
{

// The identifier of a property in RIFF INFO; empty when there is none.
std::string_view InfoOfProperty(std::string_view property);
// The property of a RIFF INFO identifier; empty when there is none.
std::string_view PropertyOfInfo(std::string_view id);

// A property that other programs write under another name.
struct PropertyAlias {
    std::string_view alias;
    std::string_view property;
};
std::span<const PropertyAlias> PropertyAliases();
// Descriptions of TXXX frames, where Vorbis comments have another name.
std::span<const PropertyAlias> DescribedProperties();

// A property such as "3/12", whose total is a comment of its own in FLAC.
struct NumberedProperty {
    std::string_view number;
    std::array<std::string_view, 2> totals; // the first one is written; the second may be empty
};
std::span<const NumberedProperty> NumberedProperties();

// A role in a TIPL frame that has a property.
struct InvolvedRole {
    std::string_view role; // in lower case but for "DJ-mix", as the frames have it
    std::string_view property;
};
std::span<const InvolvedRole> InvolvedRoles();

// What comes before any other role in a TIPL frame, and before an instrument in a TMCL frame.
inline constexpr std::string_view kInvolvedPrefix = "INVOLVEDPEOPLE:";
inline constexpr std::string_view kPerformerPrefix = "PERFORMER:";
// Those frames where they do not hold pairs of a role and a name.
inline constexpr std::string_view kInvolvedPeople = "INVOLVEDPEOPLE";
inline constexpr std::string_view kMusicianCredits = "MUSICIANCREDITS";

inline constexpr std::string_view kRatingProperty = "RATING"; // 0 to 10
inline constexpr std::string_view kCommercialUrl = "COMMERCIALINFORMATIONURL";

} // namespace aiff::host
