// SPDX-License-Identifier: MIT
#include "host/commands/FileConversion.h"

#include "host/author/VerifyOutput.h"
#include "host/author/marks/AiffMarks.h"
#include "host/author/marks/WavMarks.h"
#include "host/author/tags/ReadCarriedTags.h"
#include "host/session/Reason.h"
#include "host/session/SessionReader.h"

#include <algorithm>
#include <limits>

namespace aiff::host
{
namespace
{

// Larger writes are no faster.
constexpr size_t kOutputBuffer = 256 * 1024;

} // namespace

FileConversion::FileConversion(const codecs::CodecLoader& loader, const Trace& trace,
                               const ConvertOptions& options, ProgressFunction progress)
    : m_loader(loader), m_options(options), m_report(trace), m_progress(std::move(progress)),
      m_buffer(kOutputBuffer)
{
}

FileResult FileConversion::Run(const OutputPlan::Item& item, const OutputRules& rules)
{
    const FileResult result = ConvertAtHand(item, rules);
    m_report.Rest();
    return result;
}

FileResult FileConversion::ConvertAtHand(const OutputPlan::Item& item, const OutputRules& rules)
{
    const Result<InputAtHand> source = BringToHand(
        m_loader, m_report, item.input, m_options.tags ? Wanted::SoundAndTags : Wanted::Sound,
        m_options.fetch, [this](int64_t bytes) { m_progress(Advance::Received(bytes)); });
    if (!source)
        return {ConvertOutcome::Failed, source.Why()};
    Result<FileResult> result = Convert(source->input, item.output, rules);
    if (!result)
        return {ConvertOutcome::Failed, source->incomplete ? source->incomplete : result.Why()};
    result->fetched = source->fetched;
    for (const std::string& note : {source->leftOut, m_way, m_sound.leftOut}) {
        if (!note.empty())
            result->notes.push_back(note);
    }
    if (source->incomplete) {
        result->outcome = ConvertOutcome::Damaged;
        result->problem = source->incomplete.Text() + "; converted what is there";
    }
    return *result;
}

Result<FileResult> FileConversion::Convert(const Input& input, const std::string& output,
                                           const OutputRules& rules)
{
    if (Problem problem = input.FileProblem())
        return problem;
    m_isStream = input.IsStream();
    m_way.clear();
    m_sound = m_isStream ? AiffSound() : ReadAiffSound(input.Path());
    const Result<FrameRange> range = ResolveRange(input);
    if (!range)
        return range.Why();
    DecoderSession session(m_loader, m_report);
    const uint32_t tags = m_options.tags ? QV_OPEN_READ_TAGS : 0;
    const bool isOpen = session.Open(input, QV_OPEN_PREPARE_DECODE | tags, *range);
    if (m_sound.isCoded && !m_options.pluginOnly &&
        (!isOpen || session.AudioInfo().WaveFormat.nBitsPerSample % 8 != 0)) {
        if (const Result<CodedSound> coded = OpenCodedSound(input.Path(), *range)) {
            m_way = coded->Way();
            return ConvertFrom(*coded->reader, input, {}, {output, rules});
        }
    }
    if (!isOpen)
        return FailureReason(session);
    SessionReader reader(session);
    return ConvertFrom(reader, input, session.Tags(), {output, rules});
}

Result<FileResult> FileConversion::ConvertFrom(PcmReader& reader, const Input& input,
                                               const std::vector<TagItem>& tags,
                                               const Target& target)
{
    if ((m_options.start || m_options.end) && reader.Length() == 0)
        return Problem("holds no audio between --start and --end");
    CarriedTags carried = m_options.tags ? ReadCarriedTags(input, tags) : CarriedTags();
    if (!m_isStream)
        AddMarks(input, reader, carried);
    if (Problem problem = Write(reader, carried, target))
        return problem;
    return SumUp(reader);
}

// Broadcast data and comments are no tags, but no part of the sound either.
void FileConversion::AddMarks(const Input& input, const PcmReader& reader,
                              CarriedTags& carried) const
{
    SoundMarks marks = ReadAiffMarks(input.Path());
    if (!m_options.tags) {
        marks.bext.clear();
        marks.ixml.clear();
        marks.comments.clear();
    }
    const STQvWaveFormat format = reader.Format();
    const int64_t frames = reader.Length() / std::max<int64_t>(format.nBlockAlign, 1);
    if (m_options.start || m_options.end)
        CutMarks(marks, m_first, m_first + frames);
    else
        TellMarksBeyond(marks, frames);
    TagLib::PropertyMap comments;
    for (const std::string& comment : marks.comments)
        comments.insert("COMMENT", TagText(comment));
    if (!carried.content.AddMissing(comments).isEmpty())
        carried.notes.emplace_back("left out: comments in its chunk 'COMT', where its tag or "
                                   "another chunk says something else");
    if (m_options.format == AudioFormat::Wav) {
        carried.wavChunks = MakeWavMarks(marks, format.nSamplesPerSec);
        carried.notes.insert(carried.notes.end(), marks.notes.begin(), marks.notes.end());
    } else if (const std::string contents = marks.Contents(); !contents.empty()) {
        carried.notes.push_back("left out, as FLAC cannot hold them: " + contents);
    }
}

// Seconds need the sample rate, and an offset before the samples, which decoders take for
// sound, the size of a frame. Learning them takes a session of its own, because a decoder
// instance opens only one input.
Result<FrameRange> FileConversion::ResolveRange(const Input& input)
{
    const auto& start = m_options.start;
    const auto& end = m_options.end;
    uint32_t rate = 0;
    int64_t skipped = 0; // frames
    if (m_sound.offset != 0 || (start && start->NeedsRate()) || (end && end->NeedsRate())) {
        DecoderSession session(m_loader, m_report);
        if (!session.Open(input, QV_OPEN_AUDIO_INFO))
            return FailureReason(session);
        const STQvWaveFormat format = session.AudioInfo().WaveFormat;
        rate = format.nSamplesPerSec;
        const int64_t frame = std::max<int64_t>(format.nBlockAlign, 1);
        if (m_sound.offset % frame == 0)
            skipped = m_sound.offset / frame;
        else
            m_sound.damage = "has its samples " + std::to_string(m_sound.offset) +
                             " bytes into its sound chunk, which is within a sample frame, and "
                             "cannot be decoded from there";
    }
    const auto inChunk = [skipped](int64_t frame) {
        return frame > std::numeric_limits<int64_t>::max() - skipped ? frame : frame + skipped;
    };
    FrameRange range;
    m_first = start ? start->Frame(rate) : 0;
    range.first = inChunk(m_first);
    if (end)
        range.end = inChunk(end->Frame(rate));
    return range;
}

Problem FileConversion::Write(PcmReader& reader, const CarriedTags& tags, const Target& target)
{
    m_format = reader.Format();
    m_written = 0;
    const int64_t frame = std::max<int64_t>(m_format.nBlockAlign, 1);
    m_expected = reader.Length() < 0 ? kUnknownLength : reader.Length() - reader.Length() % frame;
    m_sum.reset();
    if (m_options.verify)
        m_sum.emplace(m_format.nBitsPerSample);
    OutputFile output(m_buffer);
    if (Problem problem = output.Open(target.path, target.rules))
        return problem;
    const bool reserve = m_options.format == AudioFormat::Wav && !m_isStream;
    if (Problem problem = reserve ? output.Reserve(m_expected) : Problem())
        return problem;
    const std::unique_ptr<AudioWriter> writer = MakeAudioWriter(m_options.format, output, tags);
    if (Problem problem = writer->Begin(m_format, m_expected))
        return problem;
    if (Problem problem = WriteAudio(reader, *writer))
        return problem;
    if (Problem problem = writer->End())
        return problem;
    m_notes = writer->Notes();
    if (Problem problem = m_sum ? Verify(output) : Problem())
        return problem;
    return output.Commit();
}

// Never writes more than the expected bytes, which the header has promised. What came of a
// stream before it broke off is kept.
Problem FileConversion::WriteAudio(PcmReader& reader, AudioWriter& writer)
{
    const bool unknown = m_expected == kUnknownLength;
    std::span<const uint8_t> pcm;
    PcmReader::Step step = reader.Next(pcm);
    for (; step == PcmReader::Step::Block; step = reader.Next(pcm)) {
        if (!unknown)
            pcm = pcm.first(
                static_cast<size_t>(std::min<int64_t>(std::ssize(pcm), m_expected - m_written)));
        if (Problem problem = writer.Write(pcm))
            return problem;
        m_written += std::ssize(pcm);
        if (m_sum)
            m_sum->AddWav(pcm);
        ShowProgress();
    }
    m_break = step == PcmReader::Step::End ? Problem() : reader.Failure();
    return m_isStream ? Problem() : m_break;
}

Problem FileConversion::Verify(OutputFile& output)
{
    const Result<std::string> sum = m_sum->Hex();
    return sum ? VerifyOutput(output, m_format, *sum) : sum.Why();
}

void FileConversion::ShowProgress() const
{
    const auto written = static_cast<double>(m_written);
    const auto expected = static_cast<double>(std::max<int64_t>(m_expected, 1));
    m_progress(m_expected == kUnknownLength ? Advance::Received(m_written)
                                            : Advance(written / expected));
}

FileResult FileConversion::SumUp(const PcmReader& reader) const
{
    FileResult result;
    result.outcome = ConvertOutcome::Converted;
    result.notes = m_notes;
    if (!reader.Note().empty())
        result.notes.push_back(reader.Note());
    result.frames = m_written / std::max<int64_t>(m_format.nBlockAlign, 1);
    result.seconds = static_cast<double>(result.frames) / m_format.nSamplesPerSec;
    const bool isShort = m_expected != kUnknownLength && m_written != m_expected;
    Problem damage = m_break   ? m_break
                     : isShort ? Problem("ends before its sound data is complete")
                               : reader.Damage();
    if (!damage)
        damage = m_sound.damage;
    if (!damage)
        return result;
    const int64_t bytesPerSecond = std::max<int64_t>(m_format.nAvgBytesPerSec, 1);
    const std::string duration = FormatDuration(m_written * 1000 / bytesPerSecond);
    result.outcome = ConvertOutcome::Damaged;
    result.problem = damage.Text() + "; converted what is there (" + duration + ")";
    return result;
}

} // namespace aiff::host
