// SPDX-License-Identifier: MIT
#include "host/writers/PictureKinds.h"

#include "host/session/TagBlob.h"
#include "support/text/Ascii.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

constexpr PictureKind kKinds[] = {
    {0, "other", "Undefined"},
    {1, "icon", "32x32 Icon"},
    {2, "other-icon", "Other Icon"},
    {3, "front", "Front Album Cover"},
    {4, "back", "Back Album Cover"},
    {5, "leaflet", "Leaflet Page"},
    {6, "media", "Media"},
    {7, "lead-artist", "Lead Artist"},
    {8, "artist", "Artist"},
    {9, "conductor", "Conductor"},
    {10, "band", "Band"},
    {11, "composer", "Composer"},
    {12, "writer", "Writer"},
    {13, "location", "Recording Location"},
    {14, "recording", "During Recording"},
    {15, "performance", "During Performance"},
    {16, "video", "Video Capture"},
    {18, "illustration", "Illustration"},
    {19, "artist-logo", "Artist Logo"},
    {20, "publisher-logo", "Publisher Logo"},
};

template <class Condition>
const PictureKind* FindKind(Condition condition)
{
    const auto* const found = std::ranges::find_if(kKinds, condition);
    return found == std::end(kKinds) ? nullptr : found;
}

} // namespace

std::span<const PictureKind> PictureKinds()
{
    return kKinds;
}

const PictureKind& PictureKindOfRole(std::string_view role)
{
    const PictureKind* const found =
        FindKind([role](const PictureKind& kind) { return EqualNoCase(kind.role, role); });
    return found == nullptr ? kKinds[0] : *found;
}

const PictureKind* PictureKindOfOption(std::string_view option)
{
    return FindKind([option](const PictureKind& kind) { return kind.option == option; });
}

std::string PictureItemName(int index, const PictureKind& kind, std::string_view description)
{
    std::string name = std::string(kPicturePrefix) + std::to_string(index) + "_" + kind.role;
    if (!description.empty())
        name += std::string(kSubDescription) + std::string(description);
    return name;
}

} // namespace aiff::host
