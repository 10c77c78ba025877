// SPDX-License-Identifier: MIT

// The tags and properties of a stream.

#include "aiff/AIFFHandler.h"
#include "decode/AudioProps.h"
#include "decode/StreamingDecoder.h"

namespace aiff
{

using StdReport::Operation;

// The header is read all the same, so that its faults are reported under whichever
// operation comes first. Whether it can be parsed does not matter here.
const XMem* clsStreamingwavedecoder::ReadIDTags(XStr&)
{
    const Operation operation(m_report, "ReadIDTags");
    m_tagBuffer.Clear();
    (void)PullOutCOMMnSSND();
    const NTag none;
    StdReport::WriteDEBUG({int64_t{none.Count()}, L" ID Tags:"}, m_report);
    if (!none.ToRawMemory(m_tagBuffer))
        return nullptr;
    operation.Succeed();
    return &m_tagBuffer;
}

// Leaves out what would require the chunk index of a file; in plain mode also what only
// matters for exact samples.
NTag clsStreamingwavedecoder::CollectProps(const XStr& properties) const
{
    const XAudioWFX& wfx = m_common.wfx;
    const bool isExact = m_mode == StreamMode::Exact;
    NTag props;
    props.AddTag(PropertyName::kAudioQuality, GetAudioQuality());
    if (isExact)
        props.AddTag(PropertyName::kEncoderSettings, EncoderSettingsText(m_common));
    props.AddTag(PropertyName::kChannelMapping, GetChannelString());
    props.AddTag(PropertyName::kSampleCount,
                 std::to_wstring(m_range.LengthBytes(wfx) / wfx.BlockAlign()));
    AddTagProps(properties, props);
    props.AddTag(PropertyName::kGapless, XStr(L"Yes"));
    if (isExact)
        props.AddTag(PropertyName::kWaveHeader, clAIFFHandler::RIFFChnkID2CHR(m_formType));
    return props;
}

XStr clsStreamingwavedecoder::GetAudioQuality() const
{
    return AudioQualityText(m_common.wfx);
}

XStr clsStreamingwavedecoder::GetChannelString() const
{
    return ChannelText(m_common.wfx);
}

} // namespace aiff
