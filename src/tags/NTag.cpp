#include "tags/NTag.h"

#include <unordered_map>

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
