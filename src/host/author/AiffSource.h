// SPDX-License-Identifier: MIT

// AIFF files as inputs of the encoder.
#pragma once

#include "aiff/AIFFHandler.h"
#include "host/author/SoundSource.h"

namespace aiff::host
{

// An AIFF or AIFF-C file. Its samples are copied, or swapped when they are little-endian,
// and all its other chunks pass through.
class AiffSource : public SoundSource
{
public:
    // Whether the file can be opened and begins like an AIFF file.
    bool IsAiff(const std::string& path);
    // Opens the file for which IsAiff was true.
    Problem Open();

    Problem ListChunks(clPassAIFFChunks& chunks) override;
    [[nodiscard]] bool Read(XMem& block) override;
    Problem Damage() const override;
    std::string LeftOut() const override;
    // Bytes of the sound chunk before the samples, as the chunk says.
    int64_t SampleOffset() const { return m_offset; }

private:
    Problem ReadFormat();
    Problem FindSound();
    bool IsCut(const STRIFFChunk& chunk) const;
    Problem Disagreement() const;

    XFileHandle m_file;
    clAIFFHandler m_aiff;
    const STRIFFChunk* m_sound = nullptr;
    int64_t m_frames = 0;      // as the COMM chunk says
    int64_t m_sampleBytes = 0; // in the SSND chunk
    bool m_littleEndian = false;
    int64_t m_position = 0;
    int64_t m_end = 0;
};

} // namespace aiff::host
