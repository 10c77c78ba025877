// SPDX-License-Identifier: MIT

// Writing WAV files.
#pragma once

#include "host/writers/AudioWriter.h"

namespace aiff::host
{

// A WAV file, RF64 when it is large. Samples are copied unchanged; the tags follow them in
// chunks.
class WavWriter : public AudioWriter
{
public:
    WavWriter(OutputFile& output, const CarriedTags& tags) : AudioWriter(output, tags) {}

    Problem Begin(const STQvWaveFormat& format, int64_t pcmBytes) override;
    Problem Write(std::span<const uint8_t> pcm) override;
    Problem End() override;

private:
    Problem CorrectHeader();

    STQvWaveFormat m_format{};
    int64_t m_promised = 0; // bytes of PCM in the header
    int64_t m_written = 0;  // bytes of PCM
    size_t m_headerSize = 0;
    std::vector<uint8_t> m_tagChunks;
};

} // namespace aiff::host
