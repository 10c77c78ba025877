// SPDX-License-Identifier: MIT
#include "host/writers/WavHeader.h"

#include "host/session/PcmReader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <string_view>

namespace aiff::host
{
namespace
{

// Room for everything in a RIFF file but the samples.
constexpr int64_t kMaxHeaderSize = 4096;
constexpr int64_t kMaxClassic = std::numeric_limits<uint32_t>::max();
constexpr int64_t kChunkHeader = 8;

// With room, a classic header has the size of an RF64 one: where that has sizes of 64 bits,
// it has a chunk that every reader skips.
enum class WavKind { Classic, ClassicWithRoom, Rf64 };

constexpr uint16_t kFormatExtensible = 0xFFFE;
// What follows the format tag in the identifier in an extensible format.
constexpr std::array<uint8_t, 14> kSubformatEnd = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                                   0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
// The loudspeakers of so many channels, in the order of AIFF and FLAC files. These are the
// masks that FLAC encoders accept; for more channels there is none.
constexpr std::array<uint32_t, 9> kChannelMasks = {0,    0x4,  0x3,   0x7,  0x33,
                                                   0x37, 0x3F, 0x70F, 0x63F};

// Why the format fits no WAV file.
Problem FormatProblem(const STQvWaveFormat& format)
{
    const int bits = format.nBitsPerSample;
    const bool isFloat = format.nFormatTag == kFormatFloat;
    if (format.nFormatTag != QV_FORMAT_PCM && !isFloat)
        return "holds no plain PCM";
    if (isFloat ? bits != 32 && bits != 64 : bits != 8 && bits != 16 && bits != 24 && bits != 32)
        return "has samples of " + std::to_string(bits) +
               " bits (only 8, 16, 24 and 32 can be written)";
    if (format.nChannels == 0 || format.nBlockAlign != format.nChannels * bits / 8)
        return "has an impossible number of channels (" + std::to_string(format.nChannels) + ")";
    return format.nSamplesPerSec == 0 ? "has a sample rate of 0" : Problem();
}

// A header as it grows.
class HeaderBytes
{
public:
    void Put(std::string_view text) { m_bytes.insert(m_bytes.end(), text.begin(), text.end()); }
    void Put(std::span<const uint8_t> bytes)
    {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    }
    void Put(uint64_t value, int bytes)
    {
        for (int i = 0; i < bytes; ++i)
            m_bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
    std::vector<uint8_t> Take() { return std::move(m_bytes); }

private:
    std::vector<uint8_t> m_bytes;
};

// More than two channels need the extensible form, to say which loudspeakers they are for.
bool IsExtensible(const STQvWaveFormat& format, WavKind kind)
{
    return kind != WavKind::Classic || format.nChannels > 2;
}

// Only integer PCM may do without the size of an extension.
int64_t FormatChunkSize(const STQvWaveFormat& format, bool isExtensible)
{
    return isExtensible ? 40 : format.nFormatTag == kFormatFloat ? 18 : 16;
}

void PutFormatChunk(HeaderBytes& header, const STQvWaveFormat& format, bool isExtensible)
{
    const uint64_t bytesPerSecond = uint64_t{format.nSamplesPerSec} * format.nBlockAlign;
    header.Put("fmt ");
    header.Put(static_cast<uint64_t>(FormatChunkSize(format, isExtensible)), 4);
    header.Put(isExtensible ? kFormatExtensible : format.nFormatTag, 2);
    header.Put(format.nChannels, 2);
    header.Put(format.nSamplesPerSec, 4);
    header.Put(std::min<uint64_t>(bytesPerSecond, kMaxClassic), 4);
    header.Put(format.nBlockAlign, 2);
    header.Put(format.nBitsPerSample, 2);
    if (!isExtensible && format.nFormatTag == kFormatFloat)
        header.Put(0, 2); // bytes that follow
    if (!isExtensible)
        return;
    const bool hasMask = format.nChannels < kChannelMasks.size();
    header.Put(22, 2); // bytes that follow
    header.Put(format.nBitsPerSample, 2);
    header.Put(hasMask ? kChannelMasks[format.nChannels] : 0, 4);
    header.Put(format.nFormatTag, 2);
    header.Put(kSubformatEnd);
}

std::vector<uint8_t> Header(const STQvWaveFormat& format, int64_t pcmBytes, int64_t chunksAfter,
                            WavKind kind)
{
    const bool isRf64 = kind == WavKind::Rf64;
    const bool isExtensible = IsExtensible(format, kind);
    // Which every format but integer PCM must have, by the number of frames.
    const bool hasFact = format.nFormatTag == kFormatFloat;
    const int64_t headerSize = 12 + kChunkHeader + FormatChunkSize(format, isExtensible) +
                               kChunkHeader + (hasFact ? kChunkHeader + 4 : 0) +
                               (kind == WavKind::Classic ? 0 : kChunkHeader + 28);
    const bool isKnown = pcmBytes != kUnknownLength;
    const int64_t riffSize = headerSize - kChunkHeader + pcmBytes + pcmBytes % 2 + chunksAfter;
    HeaderBytes header;
    header.Put(isRf64 ? "RF64" : "RIFF");
    header.Put(static_cast<uint64_t>(isRf64 || !isKnown ? kMaxClassic : riffSize), 4);
    header.Put("WAVE");
    if (kind != WavKind::Classic) {
        header.Put(isRf64 ? "ds64" : "JUNK");
        header.Put(28, 4);
        for (const int64_t size : {riffSize, pcmBytes, pcmBytes / format.nBlockAlign})
            header.Put(isRf64 ? static_cast<uint64_t>(size) : 0, 8);
        header.Put(0, 4); // a table of no sizes
    }
    PutFormatChunk(header, format, isExtensible);
    if (hasFact) {
        header.Put("fact");
        header.Put(4, 4);
        header.Put(isRf64 || !isKnown ? kMaxClassic
                                      : static_cast<uint64_t>(pcmBytes / format.nBlockAlign),
                   4);
    }
    header.Put("data");
    header.Put(static_cast<uint64_t>(isRf64 || !isKnown ? kMaxClassic : pcmBytes), 4);
    return header.Take();
}

bool NeedsRf64(int64_t pcmBytes, int64_t chunksAfter)
{
    return pcmBytes > kMaxClassic - kMaxHeaderSize - chunksAfter;
}

Result<std::vector<uint8_t>> HeaderUnlessLarge(const STQvWaveFormat& format, int64_t pcmBytes,
                                               int64_t chunksAfter, WavKind kind)
{
    if (Problem problem = FormatProblem(format))
        return problem;
    const bool isLarge = NeedsRf64(pcmBytes, chunksAfter);
    return Header(format, pcmBytes, chunksAfter, isLarge ? WavKind::Rf64 : kind);
}

} // namespace

Result<std::vector<uint8_t>> WavHeader(const STQvWaveFormat& format, int64_t pcmBytes,
                                       int64_t chunksAfter)
{
    return HeaderUnlessLarge(format, pcmBytes, chunksAfter, WavKind::Classic);
}

Result<std::vector<uint8_t>> RoomyWavHeader(const STQvWaveFormat& format, int64_t pcmBytes,
                                            int64_t chunksAfter)
{
    return HeaderUnlessLarge(format, pcmBytes, chunksAfter, WavKind::ClassicWithRoom);
}

} // namespace aiff::host
