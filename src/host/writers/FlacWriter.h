// SPDX-License-Identifier: MIT

// Writing FLAC files.
#pragma once

#include "host/writers/AudioWriter.h"

#include <cstdint>
#include <sndfile.h>

namespace aiff::host
{

// A FLAC file of up to 24 bits. The encoder's metadata is replaced on its way to the
// output, so that the tags come before the audio without a second pass.
class FlacWriter : public AudioWriter
{
public:
    FlacWriter(OutputFile& output, const CarriedTags& tags) : AudioWriter(output, tags) {}
    FlacWriter(const FlacWriter&) = delete;
    FlacWriter& operator=(const FlacWriter&) = delete;
    ~FlacWriter() override;

    Problem Begin(const STQvWaveFormat& format, int64_t pcmBytes) override;
    Problem Write(std::span<const uint8_t> pcm) override;
    Problem End() override;

private:
    // What the encoder does to its file, by its own count of bytes.
    static SF_VIRTUAL_IO FileFunctions();
    bool Take(std::span<const uint8_t> bytes);
    Problem TakeMetadata(std::span<const uint8_t> bytes);
    Problem Outcome(bool done, const char* reason) const;
    Problem WriteMetadata(size_t commentStart, size_t commentEnd);

    STQvWaveFormat m_format{};
    SNDFILE* m_encoder = nullptr;
    std::vector<int> m_samples;
    std::vector<uint8_t> m_metadata; // as the encoder makes it, until it is complete
    bool m_inMetadata = true;
    bool m_discarded = false; // nothing more reaches the output
    Problem m_problem;        // the first, met while the encoder called back
    int64_t m_position = 0;
    int64_t m_length = 0;
};

} // namespace aiff::host
