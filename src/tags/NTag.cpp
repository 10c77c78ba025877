// SPDX-License-Identifier: MIT
#include "tags/NTag.h"

#include <unordered_map>

namespace aiff
{

namespace
{

// An item of a list that may be emptied is moved, any other copied.
template <class List, class Item>
decltype(auto) Pass(Item& item)
{
    if constexpr (std::is_rvalue_reference_v<List&&>)
        return std::move(item);
    else
        return static_cast<const Item&>(item);
}

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

XStr TwoDigits(int number)
{
    return (number >= 0 && number < 10 ? L"0" : L"") + std::to_wstring(number);
}

} // namespace

STInternalTag* NTag::pTag(long position)
{
    return position >= 0 && position < Count() ? &(*this)[position] : nullptr;
}

void NTag::AddTag(const XStr& name, const XStr& value)
{
    m_tags.push_back({name, value, {}});
}

void NTag::AddTag(const XStr& name, const XMem& data)
{
    AddTag(name, data.Data(), data.Used());
}

void NTag::AddTag(const XStr& name, const void* bytes, size_t size)
{
    const auto* first = static_cast<const uint8_t*>(bytes);
    m_tags.push_back({name, {}, std::vector<uint8_t>(first, first + size)});
}

void NTag::RemoveTag(long position)
{
    if (position >= 0 && position < Count())
        m_tags.erase(m_tags.begin() + position);
}

bool NTag::RemoveTag(const XStr& name)
{
    const XStr wanted = name; // `name` may be that of an item
    return std::erase_if(m_tags, [&](const auto& tag) { return EqualNoCase(tag.name, wanted); }) !=
           0;
}

const STInternalTag* NTag::Find(std::wstring_view name) const
{
    for (const STInternalTag& tag : m_tags)
        if (EqualNoCase(tag.name, name))
            return &tag;
    return nullptr;
}

STInternalTag* NTag::FindElement(const XStr& name)
{
    return const_cast<STInternalTag*>(Find(name));
}

XStr NTag::FindElementRemove(const XStr& name)
{
    XStr value = GetTagValue(name);
    RemoveTag(name);
    return value;
}

XStr NTag::GetTagValue(const XStr& name) const
{
    const STInternalTag* tag = Find(name);
    return tag != nullptr ? tag->value : XStr();
}

void NTag::SetTagValue(const XStr& name, const XStr& value)
{
    if (STInternalTag* tag = FindElement(name))
        tag->value = value;
    else
        AddTag(name, value);
}

template <class List>
void NTag::Merge(List&& other, bool overwrite)
{
    if (&other == this)
        return;
    // A list grows to many thousand items: one look-up each must not walk them all.
    std::unordered_map<XStr, long> firstOfName;
    for (long i = 0; i < Count(); ++i)
        firstOfName.emplace(FoldCase((*this)[i].name), i);
    for (auto& item : other.m_tags) {
        const auto [entry, isNew] = firstOfName.emplace(FoldCase(item.name), Count());
        // Copied or moved, as the list is handed over.
        if (isNew)
            m_tags.push_back(Pass<List>(item));
        else if (overwrite)
            (*this)[entry->second] = Pass<List>(item);
    }
}

void NTag::MergeFrom(const NTag& other, bool overwrite)
{
    Merge(other, overwrite);
}

void NTag::MergeFrom(NTag&& other, bool overwrite)
{
    Merge(std::move(other), overwrite);
}

void NTag::DuplicateFrom(const NTag& other)
{
    if (&other == this)
        return;
    Destroy();
    MergeFrom(other, false);
}

void NTag::DropTagsBeginUnderScore(unsigned flags)
{
    const auto isKept = [flags](const XStr& name) {
        return ((flags & kKeepRiff) != 0 && BeginsNoCase(name, L"_riff_")) ||
               ((flags & kKeepCdToc) != 0 && EqualNoCase(name, L"_cdtoc")) ||
               ((flags & kKeepAlbumArt) != 0 && BeginsNoCase(name, kAlbumArtPrefix)) ||
               ((flags & kKeepCrc) != 0 && EqualNoCase(name, L"_crc"));
    };
    std::erase_if(m_tags, [&](const STInternalTag& tag) {
        return !tag.name.empty() && tag.name[0] == L'_' && !isKept(tag.name);
    });
}

void NTag::RemoveAllBinaryTags()
{
    std::erase_if(m_tags, [](const STInternalTag& tag) { return !tag.data.empty(); });
}

void NTag::RemoveTagsBiggerThan(long limit)
{
    std::erase_if(m_tags, [limit](const STInternalTag& tag) {
        const size_t size = 2 * tag.name.size() + 2 * tag.value.size() + tag.data.size();
        return static_cast<int64_t>(size) > int64_t{limit};
    });
}

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
    // The index has at least one digit after the prefix.
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

// No "_" has to follow the digits: index 1 also finds picture 12 when that one comes
// first.
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

void NTag::SplitTrackNumANDCount(const XStr& text, int& track, int& count)
{
    XStr trackText;
    XStr countText;
    SplitTrackNumANDCountStr(text, trackText, countText);
    track = LeadingInteger(text);
    count = LeadingInteger(countText);
}

void NTag::SplitTrackNumANDCountStr(const XStr& text, XStr& track, XStr& count)
{
    const size_t slash = text.find(L'/');
    const std::wstring_view whole(text);
    const XStr countText(slash != XStr::npos ? Trim(whole.substr(slash + 1)) : L"");
    track = XStr(whole.substr(0, slash));
    count = countText;
}

XStr NTag::PaddedTrackNum(const XStr& name) const
{
    int track = 0;
    int count = 0;
    SplitTrackNumANDCount(GetTagValue(name), track, count);
    if (track == 0)
        return {};
    XStr text = TwoDigits(track);
    if (count != 0)
        text += L"/" + (count < 10 ? L"0" + std::to_wstring(count) : std::to_wstring(count));
    return text;
}

} // namespace aiff
