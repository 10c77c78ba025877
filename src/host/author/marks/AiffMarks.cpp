// SPDX-License-Identifier: MIT
#include "host/author/marks/AiffMarks.h"

#include "aiff/AIFFHandler.h"
#include "host/author/marks/Fields.h"
#include "host/author/tags/ChunkText.h"
#include "host/base/Printable.h"
#include "support/file/DiskFile.h"

#include <algorithm>
#include <unordered_map>

namespace aiff::host
{
namespace
{

constexpr int64_t kMostChunkBytes = int64_t{1} << 28;
constexpr uint32_t kMostMarkers = 0xFFFF;
constexpr size_t kLoopBytes = 6;
constexpr size_t kInstrumentBytes = 8;

std::string TextOf(std::span<const uint8_t> bytes)
{
    std::string text;
    for (const std::string& part : ChunkTexts(bytes, OldText::Aiff))
        text += (text.empty() ? "" : " ") + part;
    return text;
}

// As much of a text as so many bytes of UTF-8 hold.
std::string_view Fitting(std::string_view text, size_t most)
{
    if (text.size() <= most)
        return text;
    while (most > 0 && (static_cast<uint8_t>(text[most]) & 0xC0) == 0x80)
        --most;
    return text.substr(0, most);
}

class AiffMarkReader
{
public:
    explicit AiffMarkReader(const clAIFFHandler& aiff) : m_aiff(aiff) {}

    SoundMarks Read();

private:
    std::vector<uint8_t> Data(const char* code);
    void ReadMarkers(Fields fields);
    void ReadComments(Fields fields);
    void ReadInstrument(Fields fields);
    void ReadLoop(Fields fields, bool isRelease);

    const clAIFFHandler& m_aiff;
    SoundMarks m_marks;
    std::unordered_map<uint32_t, size_t> m_byId; // the first of each number
};

std::vector<uint8_t> AiffMarkReader::Data(const char* code)
{
    const STRIFFChunk* chunk = m_aiff.FindChunkForRead(code, false);
    if (chunk == nullptr)
        return {};
    std::vector<uint8_t> data;
    if (chunk->nSize <= kMostChunkBytes)
        data.resize(static_cast<size_t>(chunk->nSize));
    const bool isRead = std::ssize(data) == chunk->nSize &&
                        m_aiff.ReadAt(chunk->FileDataPosition, data) == data.size();
    if (!isRead)
        m_marks.notes.push_back("left out: its chunk '" + std::string(code) +
                                "', which cannot be read");
    return isRead ? data : std::vector<uint8_t>();
}

void AiffMarkReader::ReadMarkers(Fields fields)
{
    constexpr size_t kLeast = 7; // number, position, length of the name
    const size_t count = fields.Number(2);
    while (m_marks.markers.size() < count && fields.Left() >= kLeast) {
        Marker marker;
        marker.id = fields.Number(2);
        marker.frame = fields.Number(4);
        const size_t length = fields.Number(1);
        marker.name = TextOf(fields.Take(length));
        fields.Take((length + 1) % 2);
        m_byId.try_emplace(marker.id, m_marks.markers.size());
        m_marks.markers.push_back(std::move(marker));
    }
    NoteLeftOut(m_marks, count - m_marks.markers.size(),
                "of its markers, which its chunk 'MARK' counts and does not hold");
}

void AiffMarkReader::ReadComments(Fields fields)
{
    constexpr size_t kLeast = 8; // time, number of a marker, length
    size_t dated = 0;
    size_t left = fields.Number(2);
    for (; left != 0 && fields.Left() >= kLeast; --left) {
        const bool hasTime = fields.Number(4) != 0;
        const auto marker = m_byId.find(fields.Number(2));
        const size_t length = fields.Number(2);
        const std::string text = TextOf(fields.Take(length));
        fields.Take(length % 2);
        if (text.empty())
            continue;
        dated += hasTime ? 1U : 0U;
        if (marker == m_byId.end()) {
            m_marks.comments.push_back(text);
            continue;
        }
        std::string& comment = m_marks.markers[marker->second].comment;
        comment += (comment.empty() ? "" : "\n") + text;
    }
    NoteLeftOut(m_marks, left, "of its comments, which its chunk 'COMT' counts and does not hold");
    if (dated != 0)
        m_marks.notes.push_back(dated == 1 ? "left out: the date of its comment"
                                           : "left out: the dates of its comments");
}

void AiffMarkReader::ReadLoop(Fields fields, bool isRelease)
{
    const std::string kind = isRelease ? "release loop" : "sustain loop";
    const uint32_t mode = fields.Number(2);
    const auto first = m_byId.find(fields.Number(2));
    const auto end = m_byId.find(fields.Number(2));
    if (mode == 0)
        return;
    if (mode > 2 || first == m_byId.end() || end == m_byId.end()) {
        m_marks.notes.push_back(
            "left out: its " + kind +
            (mode > 2 ? ", which is of an unknown kind" : ", whose markers it does not have"));
        return;
    }
    Loop loop;
    loop.mode = mode == 1 ? Loop::Mode::Forward : Loop::Mode::PingPong;
    loop.first = m_marks.markers[first->second].frame;
    loop.end = m_marks.markers[end->second].frame;
    loop.isRelease = isRelease;
    if (loop.first < loop.end)
        m_marks.loops.push_back(loop);
    else
        m_marks.notes.push_back("left out: its " + kind + ", which ends where it begins or before");
}

void AiffMarkReader::ReadInstrument(Fields fields)
{
    if (fields.Left() == 0)
        return;
    if (fields.Left() < kInstrumentBytes + 2 * kLoopBytes) {
        m_marks.notes.emplace_back("left out: its chunk 'INST', which is too short");
        return;
    }
    Instrument instrument;
    instrument.baseNote = static_cast<int>(fields.Number(1));
    instrument.detune = static_cast<int8_t>(fields.Number(1));
    for (int* const field : {&instrument.lowNote, &instrument.highNote, &instrument.lowVelocity,
                             &instrument.highVelocity})
        *field = static_cast<int>(fields.Number(1));
    instrument.gain = static_cast<int16_t>(fields.Number(2));
    m_marks.instrument = instrument;
    for (const bool isRelease : {false, true})
        ReadLoop({fields.Take(kLoopBytes), std::endian::big}, isRelease);
}

SoundMarks AiffMarkReader::Read()
{
    const auto fields = [](const std::vector<uint8_t>& data) {
        return Fields(data, std::endian::big);
    };
    const std::vector<uint8_t> markers = Data("MARK");
    const std::vector<uint8_t> comments = Data("COMT");
    const std::vector<uint8_t> instrument = Data("INST");
    ReadMarkers(fields(markers));
    ReadComments(fields(comments));
    ReadInstrument(fields(instrument));
    m_marks.bext = Data("bext");
    m_marks.ixml = Data("iXML");
    return std::move(m_marks);
}

// The number of a marker at a frame, which is made when there is none.
uint32_t MarkerAt(SoundMarks& marks, int64_t frame, const char* name)
{
    const auto found = std::ranges::find(marks.markers, frame, &Marker::frame);
    if (found != marks.markers.end())
        return found->id;
    std::vector<bool> used(kMostMarkers + 1);
    for (const Marker& marker : marks.markers)
        used[marker.id] = true;
    const auto free = std::find(used.begin() + 1, used.end(), false) - used.begin();
    if (free > kMostMarkers)
        return 0;
    marks.markers.push_back({static_cast<uint32_t>(free), frame, name, {}});
    return static_cast<uint32_t>(free);
}

// The loop that the format can hold: one that sustains, and runs forward at least in turn.
const Loop* SustainLoop(SoundMarks& marks)
{
    const auto isHeld = [](const Loop& loop) {
        return !loop.isRelease && loop.mode != Loop::Mode::Backward;
    };
    const auto loop = std::ranges::find_if(marks.loops, isHeld);
    const bool isThere = loop != marks.loops.end();
    NoteLeftOut(marks, marks.loops.size() - (isThere ? 1 : 0),
                "of its loops, as AIFF holds one, which is not played backward");
    return isThere ? &*loop : nullptr;
}

RawChunk MakeInstrument(SoundMarks& marks)
{
    const Instrument instrument = marks.instrument.value_or(Instrument());
    FieldWriter out(std::endian::big);
    for (const int value : {instrument.baseNote, instrument.detune, instrument.lowNote,
                            instrument.highNote, instrument.lowVelocity, instrument.highVelocity})
        out.Number(static_cast<uint32_t>(value), 1);
    out.Number(static_cast<uint32_t>(instrument.gain), 2);
    uint32_t first = 0;
    uint32_t end = 0;
    const Loop* const loop = SustainLoop(marks);
    if (loop != nullptr) {
        first = MarkerAt(marks, loop->first, "loop start");
        end = MarkerAt(marks, loop->end, "loop end");
    }
    const bool isLooped = first != 0 && end != 0;
    out.Number(!isLooped ? 0 : loop->mode == Loop::Mode::Forward ? 1 : 2, 2);
    out.Number(isLooped ? first : 0, 2);
    out.Number(isLooped ? end : 0, 2);
    for (size_t i = 0; i < kLoopBytes; i += 2)
        out.Number(0, 2); // no release loop
    return {"INST", out.Data()};
}

RawChunk MakeMarkers(SoundMarks& marks)
{
    constexpr size_t kMostName = 255;
    FieldWriter out(std::endian::big);
    size_t shortened = 0;
    out.Number(static_cast<uint32_t>(marks.markers.size()), 2);
    for (const Marker& marker : marks.markers) {
        const std::string_view name = Fitting(marker.name, kMostName);
        shortened += name.size() < marker.name.size() ? 1U : 0U;
        out.Number(marker.id, 2);
        out.Number(static_cast<uint32_t>(marker.frame), 4);
        out.Number(static_cast<uint32_t>(name.size()), 1);
        out.Text(name);
        out.PadToEven();
    }
    if (shortened != 0)
        marks.notes.push_back("has names of markers that are too long for AIFF: " +
                              std::to_string(shortened) + " are cut to 255 bytes");
    return {"MARK", out.Data()};
}

void AddComment(FieldWriter& out, uint32_t marker, const std::string& text, size_t& shortened)
{
    const std::string_view held = Fitting(text, 0xFFFF);
    shortened += held.size() < text.size() ? 1U : 0U;
    out.Number(0, 4); // the time is not known
    out.Number(marker, 2);
    out.Number(static_cast<uint32_t>(held.size()), 2);
    out.Text(held);
    out.PadToEven();
}

void AddComments(SoundMarks& marks, std::vector<RawChunk>& chunks)
{
    const auto count = std::ranges::count_if(
        marks.markers, [](const Marker& marker) { return !marker.comment.empty(); });
    if (count == 0)
        return;
    FieldWriter out(std::endian::big);
    size_t shortened = 0;
    out.Number(static_cast<uint32_t>(count), 2);
    for (const Marker& marker : marks.markers)
        if (!marker.comment.empty())
            AddComment(out, marker.id, marker.comment, shortened);
    if (shortened != 0)
        marks.notes.push_back("has comments of markers that are too long for AIFF: " +
                              std::to_string(shortened) + " are cut to 65535 bytes");
    chunks.push_back({"COMT", out.Data()});
}

} // namespace

SoundMarks ReadAiffMarks(const std::string& path)
{
    std::error_code error;
    clAIFFHandler aiff;
    if (!aiff.Initialize(DiskFile::Open(path, DiskFile::Access::Read, error), {}))
        return {};
    return AiffMarkReader(aiff).Read();
}

std::vector<RawChunk> MakeAiffMarks(SoundMarks& marks)
{
    NumberMarkers(marks, kMostMarkers);
    std::vector<RawChunk> chunks;
    if (marks.instrument || !marks.loops.empty())
        chunks.push_back(MakeInstrument(marks)); // which may need markers
    if (!marks.markers.empty())
        chunks.insert(chunks.begin(), MakeMarkers(marks));
    AddComments(marks, chunks);
    if (!marks.bext.empty())
        chunks.push_back({"bext", marks.bext});
    if (!marks.ixml.empty())
        chunks.push_back({"iXML", marks.ixml});
    return chunks;
}

} // namespace aiff::host
