// SPDX-License-Identifier: MIT
#include "host/author/SoundSource.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

// Fits the second-level cache, in which a block is read, swapped and written.
constexpr size_t kBlockBytes = 128 * 1024;

} // namespace

void SoundSource::SetFormat(int channels, int64_t rate, int bits)
{
    m_format.nFormatTag = QV_FORMAT_PCM;
    m_format.nChannels = static_cast<uint16_t>(channels);
    m_format.nSamplesPerSec = static_cast<uint32_t>(rate);
    m_format.nBitsPerSample = static_cast<uint16_t>(bits);
    m_format.nBlockAlign = static_cast<uint16_t>(channels * ((bits + 7) / 8));
}

int SoundSource::SampleBits() const
{
    return (m_format.nBitsPerSample + 7) / 8 * 8;
}

size_t SoundSource::BlockBytes() const
{
    const size_t frame = m_format.nBlockAlign;
    return std::max(kBlockBytes / frame, size_t{1}) * frame;
}

} // namespace aiff::host
