#pragma once

#include "aiff/PassChunks.h"
#include "qvcodec.h"
#include "support/XMem.h"

#include <memory>
#include <string>

namespace host
{

// The exact place of something that a new AIFF file rounds: the source's own bytes.
struct ExactFields {
    std::vector<uint8_t> rate;   // 10 bytes of a COMM chunk; empty: as the format says
    std::vector<uint8_t> prefix; // 8 bytes in front of the samples; empty: zeros
};

// An input of the encoder: integer PCM in the byte order of AIFF files, and what is to
// stand beside it.
class SoundSource
{
public:
    // Opens an AIFF file, or anything that libsndfile reads and that holds integer PCM.
    //
    // returns null with a few words in `problem`
    static std::unique_ptr<SoundSource> Open(const std::string& path, std::string& problem);

    virtual ~SoundSource() = default;

    const STQvWaveFormat& Format() const { return m_format; }
    // Bytes of sound to expect, in whole frames; -1 when the source cannot tell.
    int64_t ExpectedBytes() const { return m_expected; }
    // Those of the samples alone: an AIFF file may have an offset in front of them.
    int64_t SampleBytes(int64_t soundBytes) const { return soundBytes - m_offset; }
    const ExactFields& Exact() const { return m_exact; }

    // Lists the chunks of the new file, COMM and SSND without data among them.
    //
    // returns false with a few words in `problem`
    [[nodiscard]] virtual bool ListChunks(clPassAIFFChunks& chunks, std::string& problem) = 0;

    // Reads the next whole frames into `block`, at most about a quarter of a megabyte;
    // none at the end. False when reading fails.
    [[nodiscard]] virtual bool Read(XMem& block) = 0;

    // After the end: why the source may have been cut short; empty when it was not.
    virtual std::string Damage() const { return {}; }

protected:
    // bits  of a sample, which takes whole bytes
    void SetFormat(int channels, int64_t rate, int bits);
    int SampleBits() const; // of the bytes that hold a sample
    size_t BlockBytes() const;

    STQvWaveFormat m_format{};
    ExactFields m_exact;
    int64_t m_expected = -1;
    int64_t m_offset = 0;
};

} // namespace host
