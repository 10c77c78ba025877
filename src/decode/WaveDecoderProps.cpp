// SPDX-License-Identifier: MIT

// The audio properties of a file.

#include "decode/AudioProps.h"
#include "decode/WaveDecoder.h"

#include <algorithm>

namespace aiff
{

namespace
{
constexpr int kMostNamedChunks = 1000;
}

NTag clWaveDecoder::CollectProps(const XStr& properties) const
{
    const XAudioWFX& wfx = m_common.wfx;
    const int64_t frames = m_range.LengthBytes(wfx) / wfx.BlockAlign();
    NTag props;
    props.AddTag(PropertyName::kAudioQuality, AudioQualityText(wfx));
    props.AddTag(PropertyName::kEncoderSettings, EncoderSettingsText(m_common));
    props.AddTag(PropertyName::kChannelMapping, ChannelText(wfx));
    props.AddTag(PropertyName::kSampleCount, std::to_wstring(frames));
    props.AddTag(PropertyName::kRiffChunks, ChunkList());
    AddTagProps(properties, props);
    props.AddTag(PropertyName::kGapless, XStr(L"Yes"));
    props.AddTag(PropertyName::kWaveHeader, clAIFFHandler::RIFFChnkID2CHR(m_aiff.GetFormType()));
    return props;
}

XStr clWaveDecoder::ChunkList() const
{
    XStr text;
    const int named = std::min(m_aiff.Count(), kMostNamedChunks);
    for (int i = 0; i < named; ++i) {
        const STRIFFChunk& chunk = *m_aiff.GetChunk(i);
        if (i != 0)
            text += L",  ";
        text += L"'" + clAIFFHandler::RIFFChnkID2CHR(chunk.ID) + L"' " + SizeText(chunk.nSize);
    }
    if (m_aiff.Count() > named)
        text += L",  and " + std::to_wstring(m_aiff.Count() - named) + L" more";
    return text;
}

} // namespace aiff
