// SPDX-License-Identifier: MIT

// Writing audio, whatever the format.
#pragma once

#include "host/batch/OutputFile.h"
#include "host/writers/CarriedTags.h"
#include "host/writers/WavHeader.h"

#include <span>
#include <string>
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

    // After the end: sentences for people about what the file cannot hold.
    const std::vector<std::string>& Notes() const { return m_notes; }

protected:
    AudioWriter(OutputFile& output, const CarriedTags& tags) : m_output(output), m_tags(tags) {}

    OutputFile& m_output;
    const CarriedTags& m_tags;
    std::vector<std::string> m_notes;
};

} // namespace aiff::host
