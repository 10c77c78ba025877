// Names of picture items: "_albumart_", a decimal index, "_", a description that
// stands for the picture type, and optionally "<subdesc>" and a sub-description.

#include "tags/NTag.h"

namespace
{

// Indexed by the ID3v2 picture type; empty where a type has no name of its own.
constexpr std::wstring_view kDescriptions[] = {
    L"",
    L"32x32 Icon",
    L"Other Icon",
    L"Front Album Cover",
    L"Back Album Cover",
    L"Leaflet Page",
    L"Media",
    L"Lead Artist",
    L"Artist",
    L"Conductor",
    L"Band",
    L"Composer",
    L"Writer",
    L"Recording Location",
    L"During Recording",
    L"During Performance",
    L"Video Capture",
    L"",
    L"Illustration",
    L"Artist Logo",
    L"Publisher Logo",
};
constexpr int kTypes = static_cast<int>(std::size(kDescriptions));
constexpr int kFrontCover = 3;

} // namespace

XStr NTag::AlbumArtAPICPicTypeToElementDescription(int type)
{
    if (type < 0 || type >= kTypes || kDescriptions[type].empty())
        return {};
    return L"_" + XStr(kDescriptions[type]);
}

int NTag::AlbumArtDescriptionToAPICPicType(const XStr& description)
{
    for (int type = 0; type < kTypes; ++type)
        if (!kDescriptions[type].empty() && EqualNoCase(description, kDescriptions[type]))
            return type;
    return kFrontCover;
}

void NTag::SpiltAlbumArtDesctiptionLine(const XStr& line, XStr& description, XStr& subDescription)
{
    description.clear();
    subDescription.clear();
    // The index has at least one digit behind the prefix.
    const size_t separator = line.find(L'_', kAlbumArtPrefix.size() + 1);
    if (separator == XStr::npos)
        return;
    description = line.substr(separator + 1);
    const size_t mark = description.find(kSubDescriptionMark);
    if (mark == XStr::npos)
        return;
    subDescription = description.substr(mark + kSubDescriptionMark.size());
    description.resize(mark);
}

// No "_" is asked for behind the digits: index 1 also finds picture 12 when that one
// stands first.
STInternalTag* NTag::GetAlbumArt(int index, XStr& description, XStr& subDescription)
{
    description.clear();
    subDescription.clear();
    const XStr prefix = XStr(kAlbumArtPrefix) + std::to_wstring(index);
    for (STInternalTag& tag : m_tags) {
        if (!BeginsNoCase(tag.name, prefix))
            continue;
        SpiltAlbumArtDesctiptionLine(tag.name, description, subDescription);
        return &tag;
    }
    return nullptr;
}
