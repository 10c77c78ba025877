// Writing audio, whatever the format.
#pragma once

#include "host/batch/OutputFile.h"
#include "host/session/TagBlob.h"
#include "host/writers/WavHeader.h"

#include <span>
#include <vector>

namespace aiff::host
{

// Writes PCM as a file of some format, with the tags of its input. The calls come in the
// order in which they are declared. A problem names the output, or else tells why the input
// cannot become such a file.
class AudioWriter
{
public:
    virtual ~AudioWriter() = default;

    // pcmBytes  how much PCM will come, or kUnknownLength
    virtual Problem Begin(const STQvWaveFormat& format, int64_t pcmBytes) = 0;
    // Whole sample frames; 8-bit samples are unsigned.
    virtual Problem Write(std::span<const uint8_t> pcm) = 0;
    // Completes the file and corrects what its header says about the length.
    virtual Problem End() = 0;

protected:
    AudioWriter(OutputFile& output, const std::vector<TagItem>& tags)
        : m_output(output), m_tags(tags)
    {
    }

    OutputFile& m_output;
    const std::vector<TagItem>& m_tags;
};

} // namespace aiff::host
