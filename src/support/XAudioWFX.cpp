// SPDX-License-Identifier: MIT
#include "support/XAudioWFX.h"

#include "support/SaturatingMath.h"

#include <algorithm>
#include <cstring>

namespace aiff
{

void XAudioWFX::Assign(int channels, int64_t samplesPerSec, int bitsPerSample)
{
    m_format = {};
    m_format.nFormatTag = QV_FORMAT_PCM;
    m_format.nChannels = static_cast<uint16_t>(channels);
    m_format.nSamplesPerSec = static_cast<uint32_t>(samplesPerSec);
    m_format.nBitsPerSample = static_cast<uint16_t>(bitsPerSample);
    const int64_t frameBytes = int64_t{channels} * bitsPerSample / 8;
    const auto blockAlign = static_cast<uint16_t>(frameBytes);
    const uint32_t secondBytes = m_format.nSamplesPerSec * uint32_t{blockAlign};
    m_format.nBlockAlign = std::max<uint16_t>(blockAlign, 1);
    m_format.nAvgBytesPerSec = std::max<uint32_t>(secondBytes, 1);
}

int64_t XAudioWFX::BlockAlignBuffer(int64_t bytes) const
{
    return bytes / BlockAlign() * BlockAlign();
}

int64_t XAudioWFX::CalcmsTime(int64_t bytes) const
{
    return MultiplySaturated(bytes, 1000) / std::max<int64_t>(m_format.nAvgBytesPerSec, 1);
}

XStr XAudioWFX::WFXToString() const
{
    const auto number = [](uint32_t value) { return std::to_wstring(value); };
    return L"Format Tag: " + number(m_format.nFormatTag) + L"  Channels: " +
           number(m_format.nChannels) + L"  Bits per Sample: " + number(m_format.nBitsPerSample) +
           L"  Samples Per Second: " + number(m_format.nSamplesPerSec) + L"  Bytes Per Second: " +
           number(m_format.nAvgBytesPerSec) + L"  Block Align: " + number(m_format.nBlockAlign) +
           L"  CB Size: " + number(m_format.nExtraSize);
}

void XAudioWFX::CopyBasicTo(STQvWaveFormat* area) const
{
    std::memcpy(area, &m_format, QV_WAVE_FORMAT_BASIC_SIZE);
}

} // namespace aiff
