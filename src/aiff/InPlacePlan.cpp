// SPDX-License-Identifier: MIT
#include "aiff/InPlacePlan.h"

#include "aiff/Filler.h"

#include <array>
#include <limits>

namespace aiff
{

namespace
{

using Range = FileContent::Range;
using Parts = std::vector<std::span<const uint8_t>>;

constexpr int64_t kFormSizeOffset = 4;
constexpr int64_t kMarkSize = std::ssize(kFillerMark);

// Most bytes of other chunks that are written twice rather than the whole file once.
constexpr int64_t kMostKept = int64_t{1} << 20;

constexpr int64_t kMostFormEnd = std::numeric_limits<uint32_t>::max() + kChunkHeaderSize;

class InPlacePlan
{
public:
    InPlacePlan(FileEdit& edit, const clAIFFHandler& aiff, Durability durability);

    bool Make();

    InPlaceChange change;

private:
    bool ChangeSector();
    bool Append();
    bool Cut();
    bool FillRoom();
    bool SwitchTail();
    bool ReplaceTail();

    // Whether a write changes all of the range at once.
    bool IsAtomic(Range range) const { return range.start / m_unit == (range.end - 1) / m_unit; }
    bool Hold(Range range) { return !m_edit.Hold(range); }
    std::span<const uint8_t> OldBytes(Range range);
    void Add(int64_t position, Parts bytes, std::span<const uint8_t> before = {});
    void SetFormEnd(int64_t before, int64_t after);
    void Stage(Parts head, const Parts& rest);
    std::span<const uint8_t> Own(std::vector<uint8_t> bytes);
    std::span<const uint8_t> Joined(const Parts& parts);
    std::span<const uint8_t> FormSize(int64_t end);
    std::span<const uint8_t> Filler(int64_t start, int64_t end);

    FileEdit& m_edit;
    const clAIFFHandler& m_aiff;
    Durability m_durability;
    int64_t m_unit;      // bytes that change whole or not at all
    int64_t m_tail;      // T
    int64_t m_chunkEnd;  // of the chunk at T
    int64_t m_oldEnd;    // F
    int64_t m_newEnd;    // N
    Range m_differences; // after the form's header
};

void Append(Parts& parts, const Parts& more)
{
    parts.insert(parts.end(), more.begin(), more.end());
}

InPlacePlan::InPlacePlan(FileEdit& edit, const clAIFFHandler& aiff, Durability durability)
    : m_edit(edit), m_aiff(aiff), m_durability(durability),
      m_unit(durability == Durability::Flushed ? kSector : kPage), m_tail(aiff.GetFormEnd()),
      m_chunkEnd(m_tail), m_oldEnd(edit.BaseSize()), m_newEnd(edit.Size()),
      m_differences(edit.Differences(kFormHeaderSize))
{
    for (int i = aiff.Count(); i-- > 0 && m_tail > m_differences.start;) {
        m_chunkEnd = m_tail;
        m_tail = aiff.GetChunk(i)->ChunkPosition;
    }
}

bool InPlacePlan::Make()
{
    change.sizeBefore = m_oldEnd;
    change.sizeAfter = m_newEnd;
    if (!m_aiff.WasWhole() || m_aiff.GetFormEnd() != m_newEnd)
        return false;
    if (m_newEnd == m_oldEnd && ChangeSector())
        return true;
    if (m_tail == m_oldEnd)
        return Append();
    if (m_tail == m_newEnd)
        return Cut();
    return FillRoom() || SwitchTail() || ReplaceTail();
}

// Nothing is to be done, or one write.
bool InPlacePlan::ChangeSector()
{
    std::array<uint8_t, 4096> before;
    std::array<uint8_t, 4096> after;
    Range changed;
    for (int64_t at = m_differences.start; at < m_differences.end; ++at) {
        const auto index = static_cast<size_t>(at - m_differences.start) % before.size();
        if (index == 0) {
            const auto size =
                static_cast<size_t>(std::min<int64_t>(m_differences.end - at, std::ssize(before)));
            if (m_edit.ReadBase(at, std::span(before).first(size)) != size ||
                m_edit.ReadAt(at, std::span(after).first(size)) != size)
                return false;
        }
        if (before[index] == after[index])
            continue;
        changed = {changed.end == 0 ? at : changed.start, at + 1};
        if (!IsAtomic(changed))
            return false;
    }
    if (changed.end == 0)
        return true;
    const auto old = OldBytes(changed);
    if (old.empty() || !Hold(changed))
        return false;
    Add(changed.start, m_edit.Bytes(changed), old);
    return true;
}

// New chunks after the last one. Where barriers make it certain, readers that do not mind the
// form's size find none there before it is complete, but a mark that is the header of none.
bool InPlacePlan::Append()
{
    const int64_t data = m_oldEnd + kChunkHeaderSize;
    if (!Hold({m_oldEnd, m_newEnd}))
        return false;
    if (m_durability == Durability::Flushed) {
        Parts marked = {Own({kAppendMark.begin(), kAppendMark.end()})};
        aiff::Append(marked, m_edit.Bytes({data, m_newEnd}));
        Add(m_oldEnd, marked);
        Add(m_oldEnd, m_edit.Bytes({m_oldEnd, data}));
    } else {
        Add(m_oldEnd, m_edit.Bytes({m_oldEnd, m_newEnd}));
    }
    SetFormEnd(m_oldEnd, m_newEnd);
    change.decisive = change.steps.size() - 1;
    return true;
}

bool InPlacePlan::Cut()
{
    SetFormEnd(m_oldEnd, m_newEnd);
    return true;
}

// One chunk that keeps its room, before chunks that stay where they are. Its header and the
// form's size change at once.
bool InPlacePlan::FillRoom()
{
    const int64_t head = m_tail + kFillerHeadSize;
    const int64_t copy = m_oldEnd + kFillerHeadSize;
    const int64_t copyEnd = copy + m_chunkEnd - m_tail;
    if (m_differences.end > m_chunkEnd || m_newEnd != m_oldEnd || head > m_unit ||
        head > m_chunkEnd || copyEnd > kMostFormEnd || !Hold({kFormSizeOffset, m_chunkEnd}))
        return false;
    const auto old = OldBytes({kFormSizeOffset, head});
    if (old.empty())
        return false;
    const Parts between = m_edit.Bytes({kFormHeaderSize - 4, m_tail});
    Stage({Filler(m_oldEnd, copy)}, m_edit.Bytes({m_tail, m_chunkEnd}));
    Parts hide = {FormSize(copyEnd)};
    aiff::Append(hide, between);
    hide.push_back(Filler(m_tail, m_chunkEnd));
    Add(kFormSizeOffset, hide, old);
    change.decisive = change.steps.size() - 1;
    if (head < m_chunkEnd)
        Add(head, m_edit.Bytes({head, m_chunkEnd}));
    Add(kFormSizeOffset, m_edit.Bytes({kFormSizeOffset, head}), Joined(hide));
    return true;
}

// Everything from T on in one write, if it is small: up to the head of a filler over what is left
// of the old form, which first grows by another one where too little is left.
bool InPlacePlan::SwitchTail()
{
    const bool hasRoom = m_newEnd == m_oldEnd || m_newEnd + kFillerHeadSize <= m_oldEnd;
    const int64_t end = hasRoom ? m_oldEnd : std::max(m_oldEnd, m_newEnd) + kFillerHeadSize;
    const int64_t written = m_newEnd + (end > m_newEnd ? kFillerHeadSize : 0);
    if (!IsAtomic({m_tail, written}) || end > kMostFormEnd || m_aiff.HasSoundFrom(m_tail) ||
        !Hold({m_tail, m_newEnd}))
        return false;
    Parts before = {OldBytes({m_tail, std::min(m_oldEnd, written)})};
    if (before.front().empty())
        return false;
    if (!hasRoom) {
        const auto gap = static_cast<size_t>(end - m_oldEnd - kFillerHeadSize);
        const Parts filler = {Filler(m_oldEnd, end), Own(std::vector<uint8_t>(gap))};
        Add(m_oldEnd, filler);
        SetFormEnd(m_oldEnd, end);
        aiff::Append(before, filler);
    }
    Parts after = m_edit.Bytes({m_tail, m_newEnd});
    if (end > m_newEnd)
        after.push_back(Filler(m_newEnd, end));
    Add(m_tail, after, Joined(before).first(static_cast<size_t>(written - m_tail)));
    change.decisive = change.steps.size() - 1;
    if (end > m_newEnd)
        SetFormEnd(end, m_newEnd);
    return true;
}

// Everything from T on. A filler at F hides its copy, then one at T hides what is old and
// shows the copy, until the new chunks are at T and the rest is a filler again. Bytes past F
// that need not be hidden from then on are written where they stay from the start.
bool InPlacePlan::ReplaceTail()
{
    const int64_t oldHeadEnd = m_oldEnd + kFillerHeadSize;
    const int64_t newHeadEnd = m_newEnd + kFillerHeadSize;
    int64_t copy = std::max(oldHeadEnd, newHeadEnd);
    // A mark ends right before the copy. Neither of the other two is to be cut by it.
    const int64_t apart = std::abs(oldHeadEnd - newHeadEnd);
    if (apart != 0 && apart < kMarkSize)
        copy += kMarkSize;
    const int64_t copyEnd = copy + m_newEnd - m_tail;
    const Range tail = {m_tail, m_newEnd};
    if (m_aiff.HasSoundFrom(m_tail) || !IsAtomic({m_tail, m_tail + kChunkHeaderSize}) ||
        copyEnd > kMostFormEnd || m_edit.BytesOfBase(tail) > kMostKept || !Hold(tail))
        return false;
    const int64_t body = m_tail + kChunkHeaderSize;
    const auto old = OldBytes({m_tail, body});
    if (old.empty())
        return false;
    const auto head = Filler(m_newEnd, copyEnd);
    const auto finalBytes = [&](int64_t start, int64_t end) {
        Parts parts = m_edit.Bytes({start, std::min(end, m_newEnd)});
        const int64_t from = std::max<int64_t>(start - m_newEnd, 0);
        const int64_t to = end - m_newEnd;
        if (from < to)
            parts.push_back(
                head.subspan(static_cast<size_t>(from), static_cast<size_t>(to - from)));
        return parts;
    };
    Parts rest = finalBytes(oldHeadEnd, newHeadEnd);
    if (copy > std::max(oldHeadEnd, newHeadEnd))
        rest.push_back(head.last(kMarkSize));
    aiff::Append(rest, m_edit.Bytes(tail));
    Stage({Filler(m_oldEnd, copyEnd)}, rest);
    SetFormEnd(m_oldEnd, copyEnd);
    const auto hide = Filler(m_tail, copy).first(kChunkHeaderSize);
    Add(m_tail, {hide}, old);
    change.decisive = change.steps.size() - 1;
    Add(body, finalBytes(body, std::min(oldHeadEnd, newHeadEnd)));
    Add(m_tail, m_edit.Bytes({m_tail, body}), hide);
    SetFormEnd(copyEnd, m_newEnd);
    return true;
}

void InPlacePlan::Add(int64_t position, Parts bytes, std::span<const uint8_t> before)
{
    change.steps.push_back({position, std::move(bytes), before});
}

void InPlacePlan::SetFormEnd(int64_t before, int64_t after)
{
    Add(kFormSizeOffset, {FormSize(after)}, FormSize(before));
}

// What is in the file now; empty when it cannot be read.
std::span<const uint8_t> InPlacePlan::OldBytes(Range range)
{
    std::vector<uint8_t> bytes(static_cast<size_t>(range.end - range.start));
    if (m_edit.ReadBase(range.start, bytes) != bytes.size())
        return {};
    return Own(std::move(bytes));
}

std::span<const uint8_t> InPlacePlan::Joined(const Parts& parts)
{
    std::vector<uint8_t> bytes;
    for (const std::span<const uint8_t> part : parts)
        bytes.insert(bytes.end(), part.begin(), part.end());
    return Own(std::move(bytes));
}

// Writes a filler's head and what follows it past the form's end. A reader that takes what
// lies there for chunks of the form must find the mark, whatever else has reached the disk.
void InPlacePlan::Stage(Parts head, const Parts& rest)
{
    if (IsAtomic({m_oldEnd, m_oldEnd + kFillerHeadSize})) {
        aiff::Append(head, rest);
        Add(m_oldEnd, head);
    } else {
        Add(m_oldEnd, head);
        Add(m_oldEnd + kFillerHeadSize, rest);
    }
}

std::span<const uint8_t> InPlacePlan::Own(std::vector<uint8_t> bytes)
{
    return change.owned.emplace_back(std::move(bytes));
}

std::span<const uint8_t> InPlacePlan::FormSize(int64_t end)
{
    std::vector<uint8_t> field(4);
    clAIFFHandler::Int64ToSize(end - kChunkHeaderSize, field.data());
    return Own(std::move(field));
}

// The head of a filler chunk between two positions.
std::span<const uint8_t> InPlacePlan::Filler(int64_t start, int64_t end)
{
    std::vector<uint8_t> head(kChunkHeaderSize);
    WriteCode(FourCC(kChunkFiller), &head[0]);
    clAIFFHandler::Int64ToSize(end - start - kChunkHeaderSize, &head[4]);
    head.insert(head.end(), kFillerMark.begin(), kFillerMark.end());
    return Own(std::move(head));
}

} // namespace

std::optional<InPlaceChange> PlanInPlace(FileEdit& edit, const clAIFFHandler& aiff,
                                         Durability durability)
{
    InPlacePlan plan(edit, aiff, durability);
    if (!plan.Make())
        return std::nullopt;
    return std::move(plan.change);
}

} // namespace aiff
