// SPDX-License-Identifier: MIT
#include "host/commands/FileConversion.h"

#include "host/author/VerifyOutput.h"
#include "host/author/tags/ReadCarriedTags.h"
#include "host/session/Reason.h"

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
    for (const std::string& note : {source->leftOut, m_sound.leftOut}) {
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
    m_sound = input.IsStream() ? AiffSound() : ReadAiffSound(input.Path());
    const Result<FrameRange> range = ResolveRange(input);
    if (!range)
        return range.Why();
    DecoderSession session(m_loader, m_report);
    const uint32_t tags = m_options.tags ? QV_OPEN_READ_TAGS : 0;
    if (!session.Open(input, QV_OPEN_PREPARE_DECODE | tags, *range))
        return FailureReason(session);
    if ((m_options.start || m_options.end) && session.AudioInfo().nLengthBytes <= 0)
        return Problem("holds no audio between --start and --end");
    if (Problem problem = Write(session, output, rules))
        return problem;
    return SumUp(session);
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
    range.first = inChunk(start ? start->Frame(rate) : 0);
    if (end)
        range.end = inChunk(end->Frame(rate));
    return range;
}

Problem FileConversion::Write(DecoderSession& session, const std::string& path,
                              const OutputRules& rules)
{
    m_format = session.AudioInfo().WaveFormat;
    m_written = 0;
    const int64_t length = std::max<int64_t>(session.AudioInfo().nLengthBytes, 0);
    const int64_t frame = std::max<int64_t>(m_format.nBlockAlign, 1);
    m_expected = session.HasUnknownLength() ? kUnknownLength : length - length % frame;
    m_sum.reset();
    if (m_options.verify)
        m_sum.emplace(m_format.nBitsPerSample);
    OutputFile output(m_buffer);
    if (Problem problem = output.Open(path, rules))
        return problem;
    const bool reserve = m_options.format == AudioFormat::Wav && !session.Source().IsStream();
    if (Problem problem = reserve ? output.Reserve(m_expected) : Problem())
        return problem;
    const CarriedTags tags =
        m_options.tags ? ReadCarriedTags(session.Source(), session.Tags()) : CarriedTags();
    const std::unique_ptr<AudioWriter> writer = MakeAudioWriter(m_options.format, output, tags);
    if (Problem problem = writer->Begin(m_format, m_expected))
        return problem;
    if (Problem problem = WriteAudio(session, *writer))
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
Problem FileConversion::WriteAudio(DecoderSession& session, AudioWriter& writer)
{
    const bool unknown = m_expected == kUnknownLength;
    std::span<const uint8_t> pcm;
    DecoderSession::Step step = session.Next(pcm);
    for (; step == DecoderSession::Step::Block; step = session.Next(pcm)) {
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
    m_break = step == DecoderSession::Step::End ? Problem() : FailureReason(session);
    return session.Source().IsStream() ? Problem() : m_break;
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

FileResult FileConversion::SumUp(const DecoderSession& session) const
{
    FileResult result;
    result.outcome = ConvertOutcome::Converted;
    result.notes = m_notes;
    result.frames = m_written / std::max<int64_t>(m_format.nBlockAlign, 1);
    result.seconds = static_cast<double>(result.frames) / m_format.nSamplesPerSec;
    const bool isShort = m_expected != kUnknownLength && m_written != m_expected;
    Problem damage = m_break   ? m_break
                     : isShort ? Problem("ends before its sound data is complete")
                               : DamageWarning(session);
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
