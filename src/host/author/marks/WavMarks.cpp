// SPDX-License-Identifier: MIT
#include "host/author/marks/WavMarks.h"

#include "host/author/marks/Fields.h"
#include "host/author/tags/ChunkText.h"
#include "host/base/Printable.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <unordered_map>

namespace aiff::host
{
namespace
{

constexpr size_t kCueBytes = 24;
constexpr size_t kLoopBytes = 24;
constexpr uint32_t kCents = 100; // of a semitone
constexpr int64_t kLargest = std::numeric_limits<uint32_t>::max();

std::string TextOf(std::span<const uint8_t> bytes)
{
    const std::vector<std::string> texts = ChunkTexts(bytes, OldText::Riff);
    return texts.empty() ? std::string() : texts.front(); // a zero ends it
}

class WavMarkReader
{
public:
    SoundMarks Read(std::span<const RawChunk> chunks);

private:
    void ReadCues(Fields fields);
    void ReadList(Fields fields);
    void ReadLabel(std::string_view code, Fields fields);
    void ReadSampler(Fields fields);
    void ReadLoop(Fields fields);
    void ReadInstrument(Fields fields);
    void TellLosses();

    SoundMarks m_marks;
    std::unordered_map<uint32_t, size_t> m_byId; // the first of each number
    size_t m_strayLabels = 0;
    size_t m_regions = 0;
    size_t m_oddLoops = 0;
    size_t m_counted = 0; // loops that are played so many times, or between two frames
    bool m_hasSamplerData = false;
};

void WavMarkReader::ReadCues(Fields fields)
{
    const size_t count = fields.Number(4);
    size_t read = 0;
    for (; read < count && fields.Left() >= kCueBytes; ++read) {
        Marker marker;
        marker.id = fields.Number(4);
        fields.Take(kCueBytes - 8); // its place in a playlist, and in sound of several chunks
        marker.frame = fields.Number(4);
        m_byId.try_emplace(marker.id, m_marks.markers.size());
        m_marks.markers.push_back(std::move(marker));
    }
    NoteLeftOut(m_marks, count - read,
                "of its markers, which its chunk 'cue ' counts and does not hold");
}

void WavMarkReader::ReadLabel(std::string_view code, Fields fields)
{
    const auto marker = m_byId.find(fields.Number(4));
    if (marker == m_byId.end()) {
        ++m_strayLabels;
        return;
    }
    Marker& target = m_marks.markers[marker->second];
    if (code == "labl" && target.name.empty())
        target.name = TextOf(fields.Take(fields.Left()));
    else if (code == "note" && target.comment.empty())
        target.comment = TextOf(fields.Take(fields.Left()));
    else if (code == "ltxt")
        m_regions += fields.Number(4) != 0 ? 1U : 0U;
    else
        ++m_strayLabels;
}

void WavMarkReader::ReadList(Fields fields)
{
    constexpr size_t kHeader = 8;
    fields.Take(4); // "adtl"
    while (fields.Left() >= kHeader) {
        const auto code = fields.Take(4);
        const size_t size = fields.Number(4);
        const auto data = fields.Take(size);
        fields.Take(size % 2);
        ReadLabel({reinterpret_cast<const char*>(code.data()), code.size()},
                  {data, std::endian::little});
    }
}

void WavMarkReader::ReadLoop(Fields fields)
{
    fields.Take(4); // a number of its own
    const uint32_t mode = fields.Number(4);
    Loop loop;
    loop.mode = mode == 0   ? Loop::Mode::Forward
                : mode == 1 ? Loop::Mode::PingPong
                            : Loop::Mode::Backward;
    loop.first = fields.Number(4);
    loop.end = int64_t{fields.Number(4)} + 1; // the last frame is played, too
    const bool hasFraction = fields.Number(4) != 0;
    const bool isCounted = fields.Number(4) != 0;
    if (mode > 2 || loop.end > kLargest || loop.end <= loop.first) {
        ++m_oddLoops;
        return;
    }
    m_counted += hasFraction || isCounted ? 1U : 0U;
    m_marks.loops.push_back(loop);
}

void WavMarkReader::ReadSampler(Fields fields)
{
    if (fields.Left() == 0)
        return;
    fields.Take(12); // its maker and product, and the sample rate in another form
    const uint32_t note = fields.Number(4);
    const uint64_t fraction = fields.Number(4); // of a semitone, in 32 bits
    m_hasSamplerData = fields.Number(4) != 0;   // a time code
    fields.Take(4);
    const size_t loops = fields.Number(4);
    m_hasSamplerData |= fields.Number(4) != 0;
    Instrument& instrument = m_marks.instrument.emplace();
    // In the upper half of a semitone, this is below the next note.
    const auto cents = static_cast<int>((fraction * kCents + (uint64_t{1} << 31)) >> 32);
    const bool isAbove = cents > 50;
    instrument.baseNote = static_cast<int>(std::min<uint32_t>(note + (isAbove ? 1 : 0), 127));
    instrument.detune = isAbove ? cents - static_cast<int>(kCents) : cents;
    size_t read = 0;
    for (; read < loops && fields.Left() >= kLoopBytes; ++read)
        ReadLoop({fields.Take(kLoopBytes), std::endian::little});
    NoteLeftOut(m_marks, loops - read,
                "of its loops, which its chunk 'smpl' counts and does not hold");
}

// More exact than the sampler's chunk.
void WavMarkReader::ReadInstrument(Fields fields)
{
    constexpr size_t kBytes = 7;
    if (fields.Left() < kBytes)
        return;
    Instrument& instrument = m_marks.instrument.emplace();
    instrument.baseNote = static_cast<int>(fields.Number(1));
    instrument.detune = static_cast<int8_t>(fields.Number(1));
    instrument.gain = static_cast<int8_t>(fields.Number(1));
    for (int* const field : {&instrument.lowNote, &instrument.highNote, &instrument.lowVelocity,
                             &instrument.highVelocity})
        *field = static_cast<int>(fields.Number(1));
}

void WavMarkReader::TellLosses()
{
    NoteLeftOut(m_marks, m_strayLabels,
                "of its labels, which belong to no marker or to one that has one");
    NoteLeftOut(m_marks, m_regions, "of the lengths of its regions, whose starts are markers");
    NoteLeftOut(m_marks, m_oddLoops, "of its loops, which have no length or an unknown kind");
    NoteLeftOut(m_marks, m_counted,
                "of the counts or fractions of its loops, which AIFF repeats for ever");
    if (m_hasSamplerData)
        m_marks.notes.emplace_back("left out: a time code or other data in its chunk 'smpl'");
}

SoundMarks WavMarkReader::Read(std::span<const RawChunk> chunks)
{
    const auto forEach = [chunks](std::string_view code, auto&& take) {
        for (const RawChunk& chunk : chunks)
            if (chunk.code == code)
                take(Fields(chunk.data, std::endian::little));
    };
    const auto first = [this, chunks](std::string_view code) {
        const auto found = std::ranges::find(chunks, code, &RawChunk::code);
        if (std::ranges::count(chunks, code, &RawChunk::code) > 1)
            m_marks.notes.push_back("left out: a second chunk '" + std::string(code) + "'");
        return found == chunks.end() ? std::vector<uint8_t>() : found->data;
    };
    const auto fields = [](const std::vector<uint8_t>& data) {
        return Fields(data, std::endian::little);
    };
    forEach("cue ", [this](Fields cues) { ReadCues(cues); });
    forEach("LIST", [this](Fields list) { ReadList(list); });
    const std::vector<uint8_t> sampler = first("smpl");
    const std::vector<uint8_t> instrument = first("inst");
    ReadSampler(fields(sampler));
    ReadInstrument(fields(instrument));
    m_marks.bext = first("bext");
    m_marks.ixml = first("iXML");
    TellLosses();
    return std::move(m_marks);
}

void AddChunk(FieldWriter& out, std::string_view code, std::span<const uint8_t> data)
{
    out.Text(code);
    out.Number(static_cast<uint32_t>(data.size()), 4);
    out.Bytes(data);
    out.PadToEven();
}

void AddCues(FieldWriter& out, const SoundMarks& marks)
{
    FieldWriter cues(std::endian::little);
    cues.Number(static_cast<uint32_t>(marks.markers.size()), 4);
    for (const Marker& marker : marks.markers) {
        cues.Number(marker.id, 4);
        cues.Number(static_cast<uint32_t>(marker.frame), 4);
        cues.Text("data");
        cues.Number(0, 4);
        cues.Number(0, 4);
        cues.Number(static_cast<uint32_t>(marker.frame), 4);
    }
    AddChunk(out, "cue ", cues.Data());
}

void AddLabels(FieldWriter& out, const SoundMarks& marks)
{
    FieldWriter list(std::endian::little);
    list.Text("adtl");
    const auto add = [&list](std::string_view code, uint32_t id, const std::string& text) {
        if (text.empty())
            return;
        FieldWriter label(std::endian::little);
        label.Number(id, 4);
        label.Text(text);
        label.Number(0, 1);
        AddChunk(list, code, label.Data());
    };
    for (const Marker& marker : marks.markers)
        add("labl", marker.id, marker.name);
    for (const Marker& marker : marks.markers) // some readers find no label after a note
        add("note", marker.id, marker.comment);
    if (list.Data().size() > 4)
        AddChunk(out, "LIST", list.Data());
}

void AddSampler(FieldWriter& out, const SoundMarks& marks, uint32_t rate)
{
    constexpr uint64_t kNanoseconds = 1'000'000'000;
    const Instrument instrument = marks.instrument.value_or(Instrument());
    // The fraction only goes up.
    const bool isBelow = instrument.detune < 0 && instrument.baseNote > 0;
    const int cents = std::clamp(instrument.detune + (isBelow ? 100 : 0), 0, 99);
    FieldWriter chunk(std::endian::little);
    chunk.Number(0, 4);
    chunk.Number(0, 4);
    chunk.Number(static_cast<uint32_t>(kNanoseconds / std::max<uint32_t>(rate, 1)), 4);
    chunk.Number(static_cast<uint32_t>(instrument.baseNote - (isBelow ? 1 : 0)), 4);
    chunk.Number(static_cast<uint32_t>((static_cast<uint64_t>(cents) << 32) / kCents), 4);
    chunk.Number(0, 4);
    chunk.Number(0, 4);
    const auto isHeld = [](const Loop& loop) { return !loop.isRelease; };
    chunk.Number(static_cast<uint32_t>(std::ranges::count_if(marks.loops, isHeld)), 4);
    chunk.Number(0, 4);
    uint32_t number = 0;
    for (const Loop& loop : marks.loops) {
        if (loop.isRelease)
            continue;
        chunk.Number(number++, 4);
        chunk.Number(static_cast<uint32_t>(loop.mode), 4);
        chunk.Number(static_cast<uint32_t>(loop.first), 4);
        chunk.Number(static_cast<uint32_t>(loop.end - 1), 4);
        chunk.Number(0, 4);
        chunk.Number(0, 4); // for ever
    }
    AddChunk(out, "smpl", chunk.Data());
}

void AddInstrument(FieldWriter& out, SoundMarks& marks)
{
    const Instrument& instrument = *marks.instrument;
    const int gain = std::clamp(instrument.gain, -128, 127);
    if (gain != instrument.gain)
        marks.notes.push_back("has a gain of " + std::to_string(instrument.gain) +
                              " dB, of which WAV holds " + std::to_string(gain));
    FieldWriter chunk(std::endian::little);
    for (const int value : {instrument.baseNote, instrument.detune, gain, instrument.lowNote,
                            instrument.highNote, instrument.lowVelocity, instrument.highVelocity})
        chunk.Number(static_cast<uint32_t>(value), 1);
    AddChunk(out, "inst", chunk.Data());
}

} // namespace

SoundMarks ReadWavMarks(std::span<const RawChunk> chunks)
{
    return WavMarkReader().Read(chunks);
}

std::vector<uint8_t> MakeWavMarks(SoundMarks& marks, uint32_t rate)
{
    NumberMarkers(marks, std::numeric_limits<uint32_t>::max());
    FieldWriter out(std::endian::little);
    if (!marks.bext.empty())
        AddChunk(out, "bext", marks.bext);
    if (!marks.ixml.empty())
        AddChunk(out, "iXML", marks.ixml);
    if (!marks.markers.empty()) {
        AddCues(out, marks);
        AddLabels(out, marks);
    }
    NoteLeftOut(marks, static_cast<size_t>(std::ranges::count_if(marks.loops, &Loop::isRelease)),
                "release loop, which WAV cannot hold (its markers stay)");
    if (marks.instrument || !marks.loops.empty())
        AddSampler(out, marks, rate);
    if (marks.instrument)
        AddInstrument(out, marks);
    return out.Data();
}

} // namespace aiff::host
