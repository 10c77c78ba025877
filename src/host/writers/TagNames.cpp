// SPDX-License-Identifier: MIT
#include "host/writers/TagNames.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

struct InfoName {
    std::string_view id;
    std::string_view property;
};

constexpr InfoName kInfoNames[] = {
    {"IPRD", "ALBUM"},     {"IART", "ARTIST"}, {"ICMT", "COMMENT"},     {"IMUS", "COMPOSER"},
    {"ICOP", "COPYRIGHT"}, {"ICRD", "DATE"},   {"ITCH", "ENCODEDBY"},   {"IGNR", "GENRE"},
    {"IMED", "MEDIA"},     {"INAM", "TITLE"},  {"IPRT", "TRACKNUMBER"},
};

// These are read only.
constexpr InfoName kOtherInfoNames[] = {
    {"IBPM", "BPM"},      {"IENG", "ENGINEER"}, {"ILNG", "LANGUAGE"},    {"IPRO", "PRODUCER"},
    {"ISFT", "ENCODING"}, {"IWRI", "LYRICIST"}, {"ITRK", "TRACKNUMBER"},
};

constexpr PropertyAlias kAliases[] = {
    {"ALBUM ARTIST", "ALBUMARTIST"},
    {"CONTENTGROUP", "WORK"},
    {"DESCRIPTION", "COMMENT"},
    {"ENCODER", "ENCODING"},
    {"ENCODERSETTINGS", "ENCODING"},
    {"KEY", "INITIALKEY"},
    {"ORGANIZATION", "LABEL"},
    {"PUBLISHER", "LABEL"},
    {"TEMPO", "BPM"},
    {"UNSYNCEDLYRICS", "LYRICS"},
    {"YEAR", "DATE"},
};

constexpr PropertyAlias kDescribed[] = {
    {"MusicBrainz Album Release Country", "RELEASECOUNTRY"},
    {"MusicBrainz Album Status", "RELEASESTATUS"},
    {"MusicBrainz Album Type", "RELEASETYPE"},
    {"MusicBrainz Disc Id", "MUSICBRAINZ_DISCID"},
    {"MusicBrainz Track Id", "MUSICBRAINZ_TRACKID"},
};

constexpr NumberedProperty kNumbered[] = {
    {"DISCNUMBER", {"DISCTOTAL", "TOTALDISCS"}},
    {"MOVEMENTNUMBER", {"MOVEMENTTOTAL"}},
    {"TRACKNUMBER", {"TRACKTOTAL", "TOTALTRACKS"}},
};

constexpr InvolvedRole kRoles[] = {
    {"arranger", "ARRANGER"}, {"engineer", "ENGINEER"}, {"producer", "PRODUCER"},
    {"DJ-mix", "DJMIXER"},    {"mix", "MIXER"},
};

} // namespace

std::string_view InfoOfProperty(std::string_view property)
{
    const auto* const found = std::ranges::find(kInfoNames, property, &InfoName::property);
    return found == std::end(kInfoNames) ? std::string_view() : found->id;
}

std::string_view PropertyOfInfo(std::string_view id)
{
    for (const std::span<const InfoName> names :
         {std::span<const InfoName>(kInfoNames), std::span<const InfoName>(kOtherInfoNames)}) {
        const auto found = std::ranges::find(names, id, &InfoName::id);
        if (found != names.end())
            return found->property;
    }
    return {};
}

std::span<const PropertyAlias> PropertyAliases()
{
    return kAliases;
}

std::span<const PropertyAlias> DescribedProperties()
{
    return kDescribed;
}

std::span<const NumberedProperty> NumberedProperties()
{
    return kNumbered;
}

std::span<const InvolvedRole> InvolvedRoles()
{
    return kRoles;
}

} // namespace aiff::host
