// SPDX-License-Identifier: MIT

// The wave format of PCM audio and the arithmetic that belongs to it.
#pragma once

#include "qvcodec.h"
#include "support/text/XStr.h"

namespace aiff
{

class XAudioWFX
{
public:
    // A plain format (tag PCM, no extra bytes) from the fields of a file: channels, sample
    // frames per second, bits per sample. Values too wide for the format's fields lose
    // their upper bits. A sample frame takes at least one byte, and so does a second.
    void Assign(int channels, int64_t samplesPerSec, int bitsPerSample);

    void SetFormatTag(uint16_t tag) { m_format.nFormatTag = tag; }

    uint16_t FormatTag() const { return m_format.nFormatTag; }
    uint16_t Channels() const { return m_format.nChannels; }
    uint32_t SamplesPerSec() const { return m_format.nSamplesPerSec; }
    uint16_t BitsPerSample() const { return m_format.nBitsPerSample; }
    uint32_t AvgBytesPerSec() const { return m_format.nAvgBytesPerSec; }

    // Bytes per sample frame, at least 1.
    int64_t BlockAlign() const { return m_format.nBlockAlign != 0 ? m_format.nBlockAlign : 1; }

    // Bits per second.
    uint32_t BitRate() const { return m_format.nAvgBytesPerSec * 8; }

    // `bytes` rounded toward zero to whole sample frames.
    int64_t BlockAlignBuffer(int64_t bytes) const;

    // The duration of `bytes` of audio in milliseconds, rounded down.
    int64_t CalcmsTime(int64_t bytes) const;

    // The format as one line for the trace.
    XStr WFXToString() const;

    // Writes the first 18 bytes of a host's format area and leaves the rest alone.
    void CopyBasicTo(STQvWaveFormat* area) const;

private:
    STQvWaveFormat m_format = {};
};

} // namespace aiff
