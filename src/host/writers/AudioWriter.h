#pragma once

#include "host/batch/OutputFile.h"
#include "host/session/TagBlob.h"
#include "host/writers/WavHeader.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace host
{

enum class AudioFormat { Wav, Flac };

// Lays PCM out as a file of some format, with the tags of its input. The calls come in
// the order in which they stand here; each returns false when it fails.
class AudioWriter
{
public:
    // The output, open, and the tags must outlive the writer.
    static std::unique_ptr<AudioWriter> Make(AudioFormat format, OutputFile& output,
                                             const std::vector<TagItem>& tags);
    virtual ~AudioWriter() = default;

    // pcmBytes  how much is going to come, or kUnknownLength
    [[nodiscard]] virtual bool Begin(const STQvWaveFormat& format, int64_t pcmBytes) = 0;
    // Whole sample frames; 8-bit samples are unsigned.
    [[nodiscard]] virtual bool Write(std::span<const uint8_t> pcm) = 0;
    // Completes the file, and corrects what was said before about its length.
    [[nodiscard]] virtual bool End() = 0;

    // In a few words, why the input cannot become such a file; empty when it was the
    // output that failed.
    const std::string& Problem() const { return m_problem; }

protected:
    AudioWriter(OutputFile& output, const std::vector<TagItem>& tags)
        : m_output(output), m_tags(tags)
    {
    }

    OutputFile& m_output;
    const std::vector<TagItem>& m_tags;
    std::string m_problem;
};

} // namespace host
