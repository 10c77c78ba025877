#include "host/commands/FileConversion.h"

#include "host/session/Reason.h"

#include <algorithm>

namespace host
{
namespace
{

// Larger writes gain nothing any more.
constexpr size_t kOutputBuffer = 256 * 1024;
// Below this size reserving space costs more than it saves.
constexpr int64_t kReserveFrom = 1024 * 1024;

} // namespace

FileConversion::FileConversion(const codecs::CodecLoader& loader, ReportCapture& report,
                               const ConvertOptions& options, ProgressFunction progress)
    : m_loader(loader), m_report(report), m_options(options), m_progress(std::move(progress)),
      m_buffer(kOutputBuffer)
{
}

FileResult FileConversion::Run(const OutputPlan::Item& item)
{
    FileResult result;
    result.outcome = Convert(item);
    result.problem = m_problem;
    if (result.outcome == ConvertOutcome::Failed)
        return result;
    result.frames = m_written / std::max<int64_t>(m_format.nBlockAlign, 1);
    result.seconds = static_cast<double>(result.frames) / m_format.nSamplesPerSec;
    return result;
}

ConvertOutcome FileConversion::Convert(const OutputPlan::Item& item)
{
    m_written = 0;
    m_problem = item.input.FileProblem();
    m_outputName = item.output == "-" ? "standard output" : "'" + item.output + "'";
    FrameRange range;
    if (!m_problem.empty() || !ResolveRange(item.input, range))
        return ConvertOutcome::Failed;
    DecoderSession session(m_loader, m_report);
    const uint32_t tags = m_options.tags ? QV_OPEN_READ_TAGS : 0;
    if (!session.Open(item.input, QV_OPEN_PREPARE_DECODE | tags, range)) {
        m_problem = FailureReason(session);
        return ConvertOutcome::Failed;
    }
    if (!range.IsWhole() && session.AudioInfo().nLengthBytes <= 0) {
        m_problem = "holds no audio between --start and --end";
        return ConvertOutcome::Failed;
    }
    return Write(session, item.output);
}

// Seconds need the sample rate, which takes an instance of its own: a decoder
// instance opens one input once.
bool FileConversion::ResolveRange(const Input& input, FrameRange& range)
{
    const auto& start = m_options.start;
    const auto& end = m_options.end;
    uint32_t rate = 0;
    if ((start && start->NeedsRate()) || (end && end->NeedsRate())) {
        DecoderSession session(m_loader, m_report);
        if (!session.Open(input, QV_OPEN_AUDIO_INFO))
            return Fail(FailureReason(session));
        rate = session.AudioInfo().WaveFormat.nSamplesPerSec;
    }
    if (start)
        range.first = start->Frame(rate);
    if (end)
        range.end = end->Frame(rate);
    return true;
}

ConvertOutcome FileConversion::Write(DecoderSession& session, const std::string& path)
{
    m_format = session.AudioInfo().WaveFormat;
    const int64_t length = std::max<int64_t>(session.AudioInfo().nLengthBytes, 0);
    const int64_t frame = std::max<int64_t>(m_format.nBlockAlign, 1);
    const int64_t expected = session.HasUnknownLength() ? kUnknownLength : length - length % frame;
    OutputFile output(m_buffer);
    if (!output.Open(path, m_options.overwrite)) {
        FailOutput(output);
        return ConvertOutcome::Failed;
    }
    if (!WriteFile(session, output, expected))
        return ConvertOutcome::Failed;
    SumUp(session, expected);
    return m_problem.empty() ? ConvertOutcome::Converted : ConvertOutcome::Damaged;
}

bool FileConversion::WriteFile(DecoderSession& session, OutputFile& output, int64_t expected)
{
    const bool reserve = m_options.format == AudioFormat::Wav && expected >= kReserveFrom &&
                         !session.Source().IsUrl();
    if (reserve && !output.Reserve(expected))
        return FailOutput(output);
    const std::vector<TagItem> tags = session.Tags();
    const std::unique_ptr<AudioWriter> writer = AudioWriter::Make(m_options.format, output, tags);
    if (!writer->Begin(m_format, expected))
        return FailWriting(*writer, output);
    if (!WriteAudio(session, output, *writer, expected))
        return false;
    if (!writer->End())
        return FailWriting(*writer, output);
    return output.Commit() || FailOutput(output);
}

// Never writes more than `expected` bytes, which the header has promised.
bool FileConversion::WriteAudio(DecoderSession& session, const OutputFile& output,
                                AudioWriter& writer, int64_t expected)
{
    std::span<const uint8_t> pcm;
    DecoderSession::Step step = session.Next(pcm);
    for (; step == DecoderSession::Step::Block; step = session.Next(pcm)) {
        if (expected != kUnknownLength)
            pcm = pcm.first(static_cast<size_t>(std::min(std::ssize(pcm), expected - m_written)));
        if (!writer.Write(pcm))
            return FailWriting(writer, output);
        m_written += std::ssize(pcm);
        m_progress(expected == kUnknownLength
                       ? Advance::Received(m_written)
                       : Advance(static_cast<double>(m_written) /
                                 static_cast<double>(std::max<int64_t>(expected, 1))));
    }
    return HasEnded(session, step, expected);
}

// For a decoder a stream of unknown length ends with a failure to read on.
bool FileConversion::HasEnded(DecoderSession& session, DecoderSession::Step step, int64_t expected)
{
    const bool runOut = expected == kUnknownLength && m_written > 0;
    return step == DecoderSession::Step::End || runOut || Fail(FailureReason(session));
}

// What is wrong with the input although it could be converted.
void FileConversion::SumUp(const DecoderSession& session, int64_t expected)
{
    m_problem.clear();
    if (expected == kUnknownLength)
        return;
    m_problem =
        m_written == expected ? DamageWarning(session) : "ends before its sound data is complete";
    if (m_problem.empty())
        return;
    const int64_t bytesPerSecond = std::max<int64_t>(m_format.nAvgBytesPerSec, 1);
    m_problem +=
        "; converted what is there (" + FormatDuration(m_written * 1000 / bytesPerSecond) + ")";
}

bool FileConversion::Fail(const std::string& what)
{
    m_problem = what;
    return false;
}

bool FileConversion::FailWriting(const AudioWriter& writer, const OutputFile& output)
{
    return writer.Problem().empty() ? FailOutput(output) : Fail(writer.Problem());
}

bool FileConversion::FailOutput(const OutputFile& output)
{
    return Fail(m_outputName + ": " + output.Problem());
}

} // namespace host
