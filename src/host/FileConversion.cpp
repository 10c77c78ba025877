#include "host/FileConversion.h"

#include "host/Reason.h"
#include "host/WavHeader.h"

#include <algorithm>

namespace host
{
namespace
{

constexpr uint8_t kPadByte[] = {0};
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
    m_problem = item.input.FileProblem();
    m_outputName = item.output == "-" ? "standard output" : "'" + item.output + "'";
    FrameRange range;
    if (!m_problem.empty() || !ResolveRange(item.input, range))
        return ConvertOutcome::Failed;
    DecoderSession session(m_loader, m_report);
    if (!session.Open(item.input, QV_OPEN_PREPARE_DECODE, range)) {
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
    const auto& [overwrite, start, end] = m_options;
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
    const STQvWaveFormat format = session.AudioInfo().WaveFormat;
    const int64_t length = std::max<int64_t>(session.AudioInfo().nLengthBytes, 0);
    const int64_t expected = length - length % std::max<int64_t>(format.nBlockAlign, 1);
    const std::vector<uint8_t> header = WavHeader(format, expected, m_problem);
    if (header.empty())
        return ConvertOutcome::Failed;
    OutputFile output(m_buffer);
    int64_t written = 0;
    const bool reserve = expected >= kReserveFrom && !session.Source().IsUrl();
    if (!output.Open(path, m_options.overwrite) || (reserve && !output.Reserve(expected)) ||
        !output.Write(header)) {
        FailOutput(output);
        return ConvertOutcome::Failed;
    }
    if (!WriteAudio(session, output, expected, written))
        return ConvertOutcome::Failed;
    const bool complete = written == expected;
    if (!complete && !CorrectHeader(session, output, header.size(), written))
        return ConvertOutcome::Failed;
    if (!output.Commit()) {
        FailOutput(output);
        return ConvertOutcome::Failed;
    }
    m_written = written;
    m_format = format;
    m_problem = complete ? DamageWarning(session) : "ends before its sound data is complete";
    if (m_problem.empty())
        return ConvertOutcome::Converted;
    m_problem += "; converted what is there (" +
                 FormatDuration(written * 1000 / std::max<int64_t>(format.nAvgBytesPerSec, 1)) +
                 ")";
    return ConvertOutcome::Damaged;
}

// Never writes more than `expected` bytes, which the header has promised.
bool FileConversion::WriteAudio(DecoderSession& session, OutputFile& output, int64_t expected,
                                int64_t& written)
{
    std::span<const uint8_t> pcm;
    DecoderSession::Step step = session.Next(pcm);
    for (; step == DecoderSession::Step::Block; step = session.Next(pcm)) {
        const int64_t size = std::min(static_cast<int64_t>(pcm.size()), expected - written);
        if (!output.Write(pcm.first(static_cast<size_t>(size))))
            return FailOutput(output);
        written += size;
        m_progress(static_cast<double>(written) /
                   static_cast<double>(std::max<int64_t>(expected, 1)));
    }
    if (step == DecoderSession::Step::Failed)
        return Fail(FailureReason(session));
    return written % 2 == 0 || output.Write(kPadByte) || FailOutput(output);
}

// For an input that held less than it said.
bool FileConversion::CorrectHeader(DecoderSession& session, OutputFile& output, size_t headerSize,
                                   int64_t written)
{
    const std::vector<uint8_t> header =
        WavHeader(session.AudioInfo().WaveFormat, written, m_problem);
    if (header.size() != headerSize)
        return Fail("ends before its sound data is complete");
    return output.WriteAtStart(header) || FailOutput(output);
}

bool FileConversion::Fail(const std::string& what)
{
    m_problem = what;
    return false;
}

bool FileConversion::FailOutput(const OutputFile& output)
{
    return Fail(m_outputName + ": " + output.Problem());
}

} // namespace host
