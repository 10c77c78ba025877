// The wave format of PCM audio and the arithmetic that belongs to it.
#pragma once

#include "qvcodec.h"
#include "support/text/XStr.h"

class XAudioWFX
{
public:
    // A plain format (tag PCM, no extra bytes) from the fields of a file. Values
    // that the format's fields cannot hold are cut to their width. A frame of less
    // than a byte counts as one byte, and so does a second of such frames.
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

    // Milliseconds that `bytes` of audio last, truncated.
    int64_t CalcmsTime(int64_t bytes) const;

    // The format as one line for the trace.
    XStr WFXToString() const;

    // Writes the leading 18 bytes of a host's format area; the rest stays.
    void CopyBasicTo(STQvWaveFormat* area) const;

private:
    STQvWaveFormat m_format = {};
};
