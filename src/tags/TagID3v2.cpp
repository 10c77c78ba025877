// SPDX-License-Identifier: MIT
#include "tags/TagID3v2.h"

#include "tags/TagFields.h"
#include "tags/TagUpdate.h"

#include <algorithm>
#include <limits>

namespace aiff
{

namespace
{

TagUpdate::Task TaskOf(bool deleteMode)
{
    return deleteMode ? TagUpdate::Task::Remove : TagUpdate::Task::Set;
}

} // namespace

TagID3v2::TagID3v2(XFileHandle file, int64_t position)
{
    (void)m_file.Open(std::move(file)); // a file that is not open holds no tag
    m_region.position = position;
}

TagID3v2::Region TagID3v2::OwnRegion() const
{
    return {m_region.position, m_hasRegion ? m_region.size : GetID3v2TagSize()};
}

void TagID3v2::SetRegion(int64_t size, RegionUse use)
{
    m_region.size = size;
    m_hasRegion = true;
    m_regionUse = use;
}

int64_t TagID3v2::Aligned(int64_t size) const
{
    return (size + m_alignment - 1) / m_alignment * m_alignment;
}

int64_t TagID3v2::GetID3v2TagSize() const
{
    std::array<uint8_t, kTagHeaderSize> header;
    if (m_file.ReadAt(m_region.position, header) != header.size())
        return 0;
    return TagSizeFromHeader(header);
}

bool TagID3v2::Read(NTag& tags)
{
    TagItems items;
    const bool isRead = Read(items);
    tags = items.List();
    return isRead;
}

bool TagID3v2::Read(TagItems& items) const
{
    constexpr int64_t kFirstRead = 2048; // most tags without pictures are smaller
    Region region = OwnRegion();
    std::vector<uint8_t> bytes(
        static_cast<size_t>(std::clamp<int64_t>(region.size, 0, kFirstRead)));
    bytes.resize(m_file.ReadAt(region.position, bytes));
    const int64_t size = TagSizeFromHeader(bytes);
    if (size <= region.size)
        region.size = size;
    if (size <= std::ssize(bytes))
        bytes.resize(static_cast<size_t>(size));
    else if (!ReadBytes(region, bytes))
        return false;
    return items.Add(std::move(bytes));
}

// A tag that claims more than its region is none: nothing beyond the region is taken
// for it. A tag that is there but cannot be read would be lost when it is written.
bool TagID3v2::ReadBytes(const Region& region, std::vector<uint8_t>& bytes) const
{
    const int64_t present = std::max<int64_t>(m_file.Size() - region.position, 0);
    bytes.resize(static_cast<size_t>(std::clamp<int64_t>(region.size, 0, present)));
    if (m_file.ReadAt(region.position, bytes) != bytes.size())
        return false;
    if (TagSizeFromHeader(bytes) > region.size)
        bytes.clear();
    return true;
}

bool TagID3v2::ReadOldTags(std::vector<std::vector<uint8_t>>& old) const
{
    return std::ranges::all_of(
               m_earlier,
               [&](const Region& region) { return ReadBytes(region, old.emplace_back()); }) &&
           ReadBytes(OwnRegion(), old.emplace_back());
}

// The tag to be written byte for byte, with its pad bytes; empty when there is none.
std::vector<uint8_t> TagID3v2::LoneForeignTag(std::span<const std::vector<uint8_t>> old) const
{
    const auto isTag = [](const std::vector<uint8_t>& bytes) {
        return TagSizeFromHeader(bytes) != 0;
    };
    if (m_foreign.size() != 1 || std::ranges::any_of(old, isTag))
        return {};
    std::vector<uint8_t> tag(m_foreign.front().begin(), m_foreign.front().end());
    tag.resize(static_cast<size_t>(Aligned(std::ssize(tag))));
    return tag;
}

bool TagID3v2::MakeTag(std::span<const std::vector<uint8_t>> old, const NTag& tags, bool deleteMode,
                       std::vector<uint8_t>& tag)
{
    std::vector<std::span<const uint8_t>> views = m_foreign;
    views.insert(views.end(), old.begin(), old.end());
    TagRoom room{0, 0, m_alignment};
    if (m_regionUse == RegionUse::Fill)
        room = {static_cast<uint64_t>(Aligned(OwnRegion().size)),
                std::numeric_limits<uint64_t>::max(), m_alignment};
    if (m_maker) {
        m_obstacle = L"no new tag can be made of its old one.";
        std::string leftOut;
        const bool isMade = m_maker(views, room, tag, leftOut);
        m_leftOut = FromUtf8(leftOut);
        return isMade;
    }
    const TagUpdate update(m_options, views, tags, TaskOf(deleteMode));
    m_obstacle = update.IsLost() ? L"no frame can be told apart in its old tag."
                                 : L"the new tag would be too large.";
    tag = LoneForeignTag(old);
    if (!tag.empty())
        return true;
    if (!update.Write(room.available, room.maxPadding, room.alignment, tag))
        return false;
    m_leftOut = FromUtf8(update.LeftOut());
    return true;
}

// At most three times the tag's size is held at once: the old bytes, the list and the new
// bytes.
bool TagID3v2::Write(const NTag& tags, bool deleteMode)
{
    std::vector<uint8_t> tag;
    {
        std::vector<std::vector<uint8_t>> old;
        m_obstacle = L"its old tag cannot be read.";
        if (!ReadOldTags(old))
            return false;
        if (!MakeTag(old, tags, deleteMode, tag))
            return false;
        m_writtenSize = static_cast<int64_t>(tag.size());
        // Writing back what is there would only put it at risk.
        if (std::ranges::equal(tag, old.back()))
            return true;
    }
    return PlaceTag(std::move(tag));
}

bool TagID3v2::PlaceTag(std::vector<uint8_t> tag)
{
    const int64_t regionEnd = m_region.position + Aligned(OwnRegion().size);
    const int64_t delta = m_region.position + m_writtenSize - regionEnd;
    // The last region may lack its pad byte.
    if (m_file.Size() < regionEnd && !m_file.SetSize(regionEnd))
        return false;
    return (delta == 0 || m_file.Shuffle(regionEnd, delta)) &&
           m_file.SetPosition(m_region.position) && m_file.Give(std::move(tag));
}

bool TagID3v2::DeleteAllTags()
{
    const int64_t size = Aligned(GetID3v2TagSize());
    return size == 0 || m_file.Shuffle(m_region.position + size, -size);
}

bool TagID3v2::DeleteATag(const wchar_t* name)
{
    NTag list;
    list.AddTag(name, XStr());
    return Write(list, true);
}

} // namespace aiff
