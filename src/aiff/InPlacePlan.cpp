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
using Kind = InPlaceStep::Kind;

constexpr int64_t kFormSizeOffset = 4;
constexpr int64_t kMarkSize = std::ssize(kFillerMark);

// Most bytes of other chunks that are written twice rather than the whole file once.
constexpr int64_t kMostKept = int64_t{1} << 20;

constexpr int64_t kMostFormEnd = std::numeric_limits<uint32_t>::max() + kChunkHeaderSize;

bool IsInOneSector(Range range)
{
    return range.start / kSector == (range.end - 1) / kSector;
}

class InPlacePlan
{
public:
    InPlacePlan(FileEdit& edit, const clAIFFHandler& aiff);

    bool Make();

    InPlaceChange change;

private:
    bool ChangeSector();
    bool Append();
    bool Cut();
    bool FillRoom();
    bool ReplaceTail();

    bool Hold(Range range) { return !m_edit.Hold(range); }
    void Add(Kind kind, int64_t position, Parts bytes);
    void SetFormEnd(int64_t end);
    void Stage(Parts head, const Parts& rest);
    std::span<const uint8_t> Own(std::vector<uint8_t> bytes);
    std::span<const uint8_t> FormSize(int64_t end);
    std::span<const uint8_t> Filler(int64_t start, int64_t end);

    FileEdit& m_edit;
    const clAIFFHandler& m_aiff;
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

InPlacePlan::InPlacePlan(FileEdit& edit, const clAIFFHandler& aiff)
    : m_edit(edit), m_aiff(aiff), m_tail(aiff.GetFormEnd()), m_chunkEnd(m_tail),
      m_oldEnd(edit.BaseSize()), m_newEnd(edit.Size()),
      m_differences(edit.Differences(kFormHeaderSize))
{
    for (int i = aiff.Count(); i-- > 0 && m_tail > m_differences.start;) {
        m_chunkEnd = m_tail;
        m_tail = aiff.GetChunk(i)->ChunkPosition;
    }
}

bool InPlacePlan::Make()
{
    change.sizeAfter = m_newEnd;
    if (!m_aiff.WasWhole() || m_aiff.GetFormEnd() != m_newEnd)
        return false;
    if (m_newEnd == m_oldEnd && ChangeSector())
        return true;
    if (m_tail == m_oldEnd)
        return Append();
    if (m_tail == m_newEnd)
        return Cut();
    return FillRoom() || ReplaceTail();
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
            if (m_edit.Base()->ReadAt(at, std::span(before).first(size)) != size ||
                m_edit.ReadAt(at, std::span(after).first(size)) != size)
                return false;
        }
        if (before[index] == after[index])
            continue;
        changed = {changed.end == 0 ? at : changed.start, at + 1};
        if (!IsInOneSector(changed))
            return false;
    }
    if (changed.end == 0)
        return true;
    if (!Hold(changed))
        return false;
    Add(Kind::Switch, changed.start, m_edit.Bytes(changed));
    return true;
}

// New chunks after the last one. Readers that do not mind the form's size find none there
// before it is complete.
bool InPlacePlan::Append()
{
    const int64_t data = m_oldEnd + kChunkHeaderSize;
    if (!Hold({m_oldEnd, m_newEnd}))
        return false;
    Add(Kind::Hidden, data, m_edit.Bytes({data, m_newEnd}));
    Add(Kind::Hidden, m_oldEnd, m_edit.Bytes({m_oldEnd, data}));
    SetFormEnd(m_newEnd);
    change.decisive = 2;
    return true;
}

bool InPlacePlan::Cut()
{
    SetFormEnd(m_newEnd);
    return true;
}

// One chunk that keeps its room, before chunks that stay where they are. Its header and the
// form's size change at once.
bool InPlacePlan::FillRoom()
{
    const int64_t body = m_tail + kChunkHeaderSize;
    const int64_t copy = m_oldEnd + kFillerHeadSize;
    const int64_t copyEnd = copy + m_chunkEnd - m_tail;
    if (m_differences.end > m_chunkEnd || m_newEnd != m_oldEnd || body > kSector ||
        copyEnd > kMostFormEnd || !Hold({kFormSizeOffset, m_chunkEnd}))
        return false;
    const Parts between = m_edit.Bytes({kFormHeaderSize - 4, m_tail});
    Stage({Filler(m_oldEnd, copy)}, m_edit.Bytes({m_tail, m_chunkEnd}));
    Parts hide = {FormSize(copyEnd)};
    aiff::Append(hide, between);
    hide.push_back(Filler(m_tail, m_chunkEnd).first(kChunkHeaderSize));
    Add(Kind::Switch, kFormSizeOffset, hide);
    change.decisive = change.steps.size() - 1;
    Add(Kind::Hidden, body, m_edit.Bytes({body, m_chunkEnd}));
    Add(Kind::Switch, kFormSizeOffset, m_edit.Bytes({kFormSizeOffset, body}));
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
    if (m_aiff.HasSoundFrom(m_tail) || !IsInOneSector({m_tail, m_tail + kChunkHeaderSize}) ||
        copyEnd > kMostFormEnd || m_edit.BytesOfBase(tail) > kMostKept || !Hold(tail))
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
    SetFormEnd(copyEnd);
    Add(Kind::Switch, m_tail, {Filler(m_tail, copy).first(kChunkHeaderSize)});
    change.decisive = change.steps.size() - 1;
    const int64_t body = m_tail + kChunkHeaderSize;
    Add(Kind::Hidden, body, finalBytes(body, std::min(oldHeadEnd, newHeadEnd)));
    Add(Kind::Switch, m_tail, m_edit.Bytes({m_tail, body}));
    SetFormEnd(m_newEnd);
    return true;
}

void InPlacePlan::Add(Kind kind, int64_t position, Parts bytes)
{
    change.steps.push_back({kind, position, std::move(bytes)});
}

void InPlacePlan::SetFormEnd(int64_t end)
{
    Add(Kind::Switch, kFormSizeOffset, {FormSize(end)});
}

// Writes a filler's head and what follows it past the form's end. A reader that takes what
// lies there for chunks of the form must find the mark, whatever else has reached the disk.
void InPlacePlan::Stage(Parts head, const Parts& rest)
{
    if (IsInOneSector({m_oldEnd, m_oldEnd + kFillerHeadSize})) {
        aiff::Append(head, rest);
        Add(Kind::Hidden, m_oldEnd, head);
    } else {
        Add(Kind::Hidden, m_oldEnd, head);
        Add(Kind::Hidden, m_oldEnd + kFillerHeadSize, rest);
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

std::optional<InPlaceChange> PlanInPlace(FileEdit& edit, const clAIFFHandler& aiff)
{
    InPlacePlan plan(edit, aiff);
    if (!plan.Make())
        return std::nullopt;
    return std::move(plan.change);
}

} // namespace aiff
