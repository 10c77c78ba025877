#pragma once

#include "host/batch/FileResult.h"
#include "host/batch/OutputFile.h"
#include "host/batch/OutputPlan.h"
#include "host/batch/Progress.h"
#include "host/commands/TimePoint.h"
#include "host/session/DecoderSession.h"
#include "host/writers/AudioWriter.h"

#include <optional>
#include <string>

namespace host
{

struct ConvertOptions {
    bool overwrite = false;
    bool tags = true; // go into the output, with the pictures
    AudioFormat format = AudioFormat::Wav;
    std::optional<TimePoint> start;
    std::optional<TimePoint> end; // exclusive
};

// Turns one input into one WAV or FLAC file, bit for bit. One object per worker, used for
// one file after the other.
class FileConversion
{
public:
    // All but the function must outlive the object.
    FileConversion(const codecs::CodecLoader& loader, ReportCapture& report,
                   const ConvertOptions& options, ProgressFunction progress);

    FileResult Run(const OutputPlan::Item& item);

private:
    ConvertOutcome Convert(const OutputPlan::Item& item);
    bool ResolveRange(const Input& input, FrameRange& range);
    ConvertOutcome Write(DecoderSession& session, const std::string& path);
    bool WriteFile(DecoderSession& session, OutputFile& output, int64_t expected);
    bool WriteAudio(DecoderSession& session, const OutputFile& output, AudioWriter& writer,
                    int64_t expected);
    bool HasEnded(DecoderSession& session, DecoderSession::Step step, int64_t expected);
    void SumUp(const DecoderSession& session, int64_t expected);
    bool Fail(const std::string& what);
    bool FailWriting(const AudioWriter& writer, const OutputFile& output);
    bool FailOutput(const OutputFile& output);

    const codecs::CodecLoader& m_loader;
    ReportCapture& m_report;
    const ConvertOptions& m_options;
    ProgressFunction m_progress;
    std::vector<uint8_t> m_buffer; // of the output
    std::string m_outputName;
    std::string m_problem;
    int64_t m_written = 0; // bytes of PCM in the last output
    STQvWaveFormat m_format{};
};

} // namespace host
