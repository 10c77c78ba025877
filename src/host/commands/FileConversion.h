// SPDX-License-Identifier: MIT

// The conversion of one file.
#pragma once

#include "host/author/CodedSound.h"
#include "host/author/SoundFile.h"
#include "host/author/SoundSum.h"
#include "host/batch/FileResult.h"
#include "host/batch/OutputFile.h"
#include "host/batch/OutputPlan.h"
#include "host/batch/Progress.h"
#include "host/commands/TimePoint.h"
#include "host/session/AtHand.h"
#include "host/session/DecoderSession.h"
#include "host/writers/MakeAudioWriter.h"

#include <optional>
#include <vector>

namespace aiff::host
{

struct ConvertOptions {
    bool tags = true; // copied to the output, with the pictures
    bool verify = false;
    bool pluginOnly = false; // or what decoders refuse is decoded otherwise
    Fetch fetch = Fetch::WhenNeeded;
    AudioFormat format = AudioFormat::Wav;
    std::optional<TimePoint> start;
    std::optional<TimePoint> end; // exclusive
};

// Turns one input at a time into one WAV or FLAC file, bit for bit. Each worker has an
// object of its own.
class FileConversion
{
public:
    // The loader and the options must outlive the object.
    FileConversion(const codecs::CodecLoader& loader, const Trace& trace,
                   const ConvertOptions& options, ProgressFunction progress);

    FileResult Run(const OutputPlan::Item& item, const OutputRules& rules);

private:
    FileResult ConvertAtHand(const OutputPlan::Item& item, const OutputRules& rules);
    Result<FileResult> Convert(const Input& input, const std::string& output,
                               const OutputRules& rules);
    Result<FrameRange> ResolveRange(const Input& input);
    // Where an output goes.
    struct Target {
        const std::string& path;
        const OutputRules& rules;
    };
    Result<FileResult> ConvertFrom(PcmReader& reader, const Input& input,
                                   const std::vector<TagItem>& tags, const Target& target);
    void AddMarks(const Input& input, const PcmReader& reader, CarriedTags& carried) const;
    Problem Write(PcmReader& reader, const CarriedTags& tags, const Target& target);
    Problem WriteAudio(PcmReader& reader, AudioWriter& writer);
    Problem Verify(OutputFile& output);
    void ShowProgress() const;
    FileResult SumUp(const PcmReader& reader) const;

    const codecs::CodecLoader& m_loader;
    const ConvertOptions& m_options;
    ReportCapture m_report;
    ProgressFunction m_progress;
    std::vector<uint8_t> m_buffer; // of the output
    // Of the current file.
    bool m_isStream = false;
    AiffSound m_sound;
    int64_t m_first = 0; // frame of the sound with which the output begins
    std::string m_way;   // in which what decoders refuse is decoded
    STQvWaveFormat m_format{};
    int64_t m_expected = 0;           // bytes of PCM, or kUnknownLength
    int64_t m_written = 0;            // bytes of PCM
    std::optional<SoundSum> m_sum;    // of what is written, to verify it
    Problem m_break;                  // why the decoder could not go on
    std::vector<std::string> m_notes; // about its tags
};

} // namespace aiff::host
