#include "tags/TagID3v2.h"

#include "tags/TagFields.h"
#include "tags/TagUpdate.h"
#include "tags/id3parser/frames/FrameReader.h"

#include <algorithm>
#include <limits>

namespace aiff
{

namespace
{

// Reads a region of a file ahead, so that small fields cost no system call each; what
// is larger than the buffer goes straight to its place.
class myStreamIn : public id3parser::streamIn
{
public:
    myStreamIn(const XFile& file, int64_t position, int64_t size)
        : m_file(file), m_position(position), m_end(position + size)
    {
    }

    size_t read(void* buffer, size_t size) override
    {
        auto* out = static_cast<uint8_t*>(buffer);
        size = std::min(size, left());
        const size_t ahead = std::min(size, m_ahead.size());
        std::copy_n(m_ahead.begin(), ahead, out);
        m_ahead = m_ahead.subspan(ahead);
        const std::span<uint8_t> rest(out + ahead, size - ahead);
        if (rest.size() >= m_buffer.size()) {
            const size_t count = m_file.ReadAt(m_position, rest);
            m_position += static_cast<int64_t>(count);
            return ahead + count;
        }
        if (!rest.empty()) {
            FillBuffer();
            const size_t count = std::min(rest.size(), m_ahead.size());
            std::copy_n(m_ahead.begin(), count, rest.begin());
            m_ahead = m_ahead.subspan(count);
            return ahead + count;
        }
        return ahead;
    }

    size_t skip(size_t size) override
    {
        size = std::min(size, left());
        const size_t ahead = std::min(size, m_ahead.size());
        m_ahead = m_ahead.subspan(ahead);
        m_position += static_cast<int64_t>(size - ahead);
        return size;
    }

    size_t left() const override
    {
        return m_ahead.size() + static_cast<size_t>(m_end - m_position);
    }

    // What comes first, without taking it.
    std::span<const uint8_t> Ahead()
    {
        if (m_ahead.empty())
            FillBuffer();
        return m_ahead;
    }

private:
    void FillBuffer()
    {
        const auto size = std::min<int64_t>(m_end - m_position, std::ssize(m_buffer));
        const size_t count =
            m_file.ReadAt(m_position, std::span(m_buffer).first(static_cast<size_t>(size)));
        m_ahead = std::span(m_buffer).first(count);
        m_position += static_cast<int64_t>(count);
    }

    const XFile& m_file;
    int64_t m_position; // of what follows the buffered bytes
    int64_t m_end;
    std::array<uint8_t, 4096> m_buffer;
    std::span<const uint8_t> m_ahead;
};

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
    std::array<uint8_t, id3parser::kTagHeaderSize> header;
    if (m_file.ReadAt(m_region.position, header) != header.size())
        return 0;
    return TagSizeFromHeader(header);
}

bool TagID3v2::Read(NTag& tags)
{
    tags.Destroy();
    const Region region = OwnRegion();
    myStreamIn stream(m_file, region.position, region.size);
    return TagSizeFromHeader(stream.Ahead()) <= region.size && ReadTagList(stream, tags);
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

bool TagID3v2::Write(const NTag& tags, bool deleteMode)
{
    return Update([&](TagUpdate& update) { update.Apply(tags, TaskOf(deleteMode)); });
}

bool TagID3v2::Write(NTag&& tags, bool deleteMode)
{
    return Update([&, list = std::move(tags)](TagUpdate& update) mutable {
        update.Apply(list, TaskOf(deleteMode));
        list.Destroy();
    });
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

// At most three times the tag's size is held at once: the old bytes, what is to become
// of them, and either the list or the new bytes.
template <class ApplyList>
bool TagID3v2::Update(ApplyList&& apply)
{
    std::vector<uint8_t> tag;
    {
        std::vector<std::vector<uint8_t>> old;
        if (!ReadOldTags(old))
            return false;
        tag = LoneForeignTag(old);
        std::vector<std::span<const uint8_t>> views = m_foreign;
        views.insert(views.end(), old.begin(), old.end());
        if (tag.empty() && !Merge(views, apply, tag))
            return false;
        m_writtenSize = static_cast<int64_t>(tag.size());
        // Writing back what is there would only put it at risk.
        if (std::ranges::equal(tag, old.back()))
            return true;
    }
    return PlaceTag(std::move(tag));
}

template <class ApplyList>
bool TagID3v2::Merge(std::span<const std::span<const uint8_t>> old, ApplyList& apply,
                     std::vector<uint8_t>& tag) const
{
    TagUpdate update(m_options, old);
    apply(update);
    constexpr uint64_t kAnyPadding = std::numeric_limits<uint64_t>::max();
    const bool fill = m_regionUse == RegionUse::Fill;
    const auto room = static_cast<uint64_t>(Aligned(OwnRegion().size));
    return update.Write(fill ? room : 0, fill ? kAnyPadding : 0, m_alignment, tag);
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
