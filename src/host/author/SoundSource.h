// SPDX-License-Identifier: MIT

// What the encoder reads.
#pragma once

#include "aiff/PassChunks.h"
#include "host/base/Problem.h"
#include "qvcodec.h"
#include "support/XMem.h"

#include <string>
#include <vector>

namespace aiff::host
{

inline constexpr char kEndsWithinFrame[] =
    "ends its sound within a sample frame, which is left out";

inline constexpr char kNotAsSummed[] = "is damaged: its sound is not what its own checksum says";

// The source's own bytes of what a new AIFF file would round.
struct ExactFields {
    std::vector<uint8_t> rate;   // 10 bytes of a COMM chunk; empty: from the format
    std::vector<uint8_t> prefix; // 8 bytes before the samples; empty: zeros
};

// Which samples a source may have: integers, as an AIFF file has them, or also floating-point
// ones that lie bare in their file, for those who only compare bytes.
enum class Samples { Integers, Bare };

// An input of the encoder: integer PCM in the byte order of AIFF files, and the chunks that
// go with it.
class SoundSource
{
public:
    virtual ~SoundSource() = default;

    const STQvWaveFormat& Format() const { return m_format; }
    // Bytes of sound to expect, in whole frames; -1 when this is unknown.
    int64_t ExpectedBytes() const { return m_expected; }
    // How many of them are samples: an AIFF file may have an offset before these.
    int64_t SampleBytes(int64_t soundBytes) const { return soundBytes - m_offset; }
    const ExactFields& Exact() const { return m_exact; }

    // Lists the chunks of the new file, including COMM and SSND without data.
    virtual Problem ListChunks(clPassAIFFChunks& chunks) = 0;

    // Reads the next whole frames into `block`, at most 128 KiB;
    // none at the end. False when reading fails.
    [[nodiscard]] virtual bool Read(XMem& block) = 0;

    // Sentences for people about what the listed chunks do not have of the source.
    const std::vector<std::string>& Notes() const { return m_notes; }

    // What the source seems to have lost, or says of its sound that is not so.
    virtual Problem Damage() const = 0;

    // The MD5 of the samples that the source itself has of them, as SoundSum gives it; mostly
    // empty.
    virtual std::string OwnSum() const { return {}; }

    // What a new file does not get, although nothing is wrong with it; mostly empty.
    virtual std::string LeftOut() const { return {}; }

protected:
    // bits  significant bits of a sample, which takes whole bytes
    void SetFormat(int channels, int64_t rate, int bits);
    int SampleBits() const; // bits of the bytes that hold a sample
    size_t BlockBytes() const;

    STQvWaveFormat m_format{};
    ExactFields m_exact;
    std::vector<std::string> m_notes;
    int64_t m_expected = -1;
    int64_t m_offset = 0;
};

} // namespace aiff::host
