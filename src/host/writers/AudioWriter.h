#pragma once

#include "host/batch/OutputFile.h"
#include "host/session/TagBlob.h"
#include "host/writers/WavHeader.h"

#include <memory>
#include <span>
#include <vector>

namespace host
{

enum class AudioFormat { Wav, Flac };

// Lays PCM out as a file of some format, with the tags of its input. The calls come in
// the order in which they stand here. A problem is that of the input, which cannot become
// such a file, or names the output.
class AudioWriter
{
public:
    // The output, open, and the tags must outlive the writer.
    static std::unique_ptr<AudioWriter> Make(AudioFormat format, OutputFile& output,
                                             const std::vector<TagItem>& tags);
    virtual ~AudioWriter() = default;

    // pcmBytes  how much is going to come, or kUnknownLength
    virtual Problem Begin(const STQvWaveFormat& format, int64_t pcmBytes) = 0;
    // Whole sample frames; 8-bit samples are unsigned.
    virtual Problem Write(std::span<const uint8_t> pcm) = 0;
    // Completes the file, and corrects what was said before about its length.
    virtual Problem End() = 0;

protected:
    AudioWriter(OutputFile& output, const std::vector<TagItem>& tags)
        : m_output(output), m_tags(tags)
    {
    }

    OutputFile& m_output;
    const std::vector<TagItem>& m_tags;
};

} // namespace host
