// SPDX-License-Identifier: MIT
#include "host/author/marks/SoundMarks.h"

#include "host/author/marks/Fields.h"
#include "host/base/Printable.h"

#include <algorithm>
#include <unordered_set>

namespace aiff::host
{
namespace
{

// The number of frames since midnight in broadcast data, in two halves.
constexpr size_t kTimeReference = 338;

uint32_t Half(const std::vector<uint8_t>& bext, size_t at)
{
    return Fields(std::span(bext).subspan(at), std::endian::little).Number(4);
}

void MoveTimeReference(std::vector<uint8_t>& bext, int64_t frames)
{
    if (bext.size() < kTimeReference + 8)
        return;
    uint64_t time = uint64_t{Half(bext, kTimeReference + 4)} << 32 | Half(bext, kTimeReference);
    time += static_cast<uint64_t>(frames);
    for (size_t i = 0; i < 8; ++i)
        bext[kTimeReference + i] = static_cast<uint8_t>(time >> (8 * i));
}

void AddTo(std::string& list, const std::string& more)
{
    list += (list.empty() ? "" : ", ") + more;
}

} // namespace

std::string SoundMarks::Contents() const
{
    std::string contents;
    if (!markers.empty())
        AddTo(contents, Counted(std::ssize(markers), "marker"));
    if (!loops.empty())
        AddTo(contents, Counted(std::ssize(loops), "loop"));
    if (instrument)
        AddTo(contents, "instrument settings");
    if (!bext.empty())
        AddTo(contents, "broadcast data (bext)");
    if (!ixml.empty())
        AddTo(contents, "iXML");
    return contents;
}

void NoteLeftOut(SoundMarks& marks, size_t count, const std::string& what)
{
    if (count != 0)
        marks.notes.push_back("left out: " + std::to_string(count) + " " + what);
}

void CutMarks(SoundMarks& marks, int64_t first, int64_t end)
{
    const size_t markers = std::erase_if(marks.markers, [first, end](const Marker& marker) {
        return marker.frame < first || marker.frame > end;
    });
    const size_t loops = std::erase_if(marks.loops, [first, end](const Loop& loop) {
        return loop.first < first || loop.end > end;
    });
    for (Marker& marker : marks.markers)
        marker.frame -= first;
    for (Loop& loop : marks.loops) {
        loop.first -= first;
        loop.end -= first;
    }
    MoveTimeReference(marks.bext, first);
    NoteLeftOut(marks, markers, "of its markers, which lie outside the part");
    NoteLeftOut(marks, loops, "of its loops, which lie outside the part");
    if (!marks.ixml.empty() && first != 0)
        marks.notes.emplace_back("has iXML, whose times are still those of the whole sound");
}

void TellMarksBeyond(SoundMarks& marks, int64_t frames)
{
    const auto beyond = std::ranges::count_if(
        marks.markers, [frames](const Marker& marker) { return marker.frame > frames; });
    const auto loops = std::ranges::count_if(
        marks.loops, [frames](const Loop& loop) { return loop.end > frames; });
    if (beyond != 0 || loops != 0)
        marks.notes.push_back("has " + Counted(beyond, "marker") + " and " +
                              Counted(loops, "loop") + " beyond the end of its sound");
}

void NumberMarkers(SoundMarks& marks, uint32_t most)
{
    std::unordered_set<uint32_t> used;
    std::vector<Marker*> without;
    for (Marker& marker : marks.markers)
        if (marker.id == 0 || marker.id > most || !used.insert(marker.id).second)
            without.push_back(&marker);
    uint32_t next = 1;
    for (Marker* const marker : without) {
        while (next <= most && used.contains(next))
            ++next;
        marker->id = next <= most ? next++ : 0;
    }
    const size_t tooMany =
        std::erase_if(marks.markers, [](const Marker& marker) { return marker.id == 0; });
    NoteLeftOut(marks, tooMany, "of its markers, for which there are no numbers");
    if (without.size() > tooMany)
        marks.notes.push_back("has " +
                              Counted(static_cast<int64_t>(without.size() - tooMany), "marker") +
                              " without a usable number of their own, which get new ones");
}

} // namespace aiff::host
