// SPDX-License-Identifier: MIT

// AIFF files as inputs of the encoder.
#pragma once

#include "aiff/AIFFHandler.h"
#include "host/author/Coding.h"
#include "host/author/SoundSource.h"

namespace aiff::host
{

// Where and how an AIFF file has its samples.
struct SoundLayout {
    const Coding* coding = nullptr; // null when it is not registered
    uint32_t code = 0;              // of the coding, as in the file
    int bits = 0;                   // as the COMM chunk says
    int64_t frames = 0;             // as the COMM chunk says
    int64_t position = 0;           // in the file
    int64_t bytes = 0;              // of whole units
};

// An AIFF or AIFF-C file. Its samples are copied, or swapped when they are little-endian,
// and all its other chunks pass through.
class AiffSource : public SoundSource
{
public:
    // Whether the file can be opened and begins like an AIFF file.
    bool IsAiff(const std::string& path);
    // Opens the file for which IsAiff was true. Read() needs plain samples; of other codings the
    // source knows the layout.
    enum class Codings { Plain, All };
    Problem Open(Codings accepted = Codings::Plain);

    Problem ListChunks(clPassAIFFChunks& chunks) override;
    [[nodiscard]] bool Read(XMem& block) override;
    Problem Damage() const override;
    std::string LeftOut() const override;
    // Bytes of the sound chunk before the samples, as the chunk says.
    int64_t SampleOffset() const { return m_offset; }
    const SoundLayout& Layout() const { return m_layout; }
    // Whether samples are coded otherwise than decoders take them, or do not fill their bytes.
    bool IsCoded() const { return m_isCoded || m_layout.bits % 8 != 0; }
    const FileContent& File() const { return *m_file; }

private:
    Problem ReadFormat(Codings accepted);
    Problem FindSound();
    bool IsCut(const STRIFFChunk& chunk) const;
    Problem Disagreement() const;

    XFileHandle m_file;
    clAIFFHandler m_aiff;
    const STRIFFChunk* m_sound = nullptr;
    SoundLayout m_layout;
    int64_t m_unitBytes = 1;   // of all channels
    int64_t m_sampleBytes = 0; // in the SSND chunk
    bool m_isCoded = false;
    bool m_littleEndian = false;
    int64_t m_position = 0;
    int64_t m_end = 0;
};

} // namespace aiff::host
