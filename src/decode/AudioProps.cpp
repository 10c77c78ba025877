// SPDX-License-Identifier: MIT
#include "decode/AudioProps.h"

#include "aiff/AIFFHandler.h"

#include <algorithm>
#include <limits>

namespace aiff
{

namespace
{

struct LossyRow {
    uint16_t tag;
    int32_t high; // least bits per second and channel for "High"
    int32_t low;  // below this: "Low"
};

// The last row is for all other formats, none of which counts as high.
constexpr LossyRow kLossy[] = {
    {80, 127500, 79500},
    {85, 95500, 63500},
    {0, std::numeric_limits<int32_t>::max(), 127500},
};

// Indexed by the number of channels.
constexpr const wchar_t* kLayouts[] = {
    L"",
    L"Center",
    L"Left, Right",
    L"Left, Right, Sub-woofer",
    L"Left, Right, Back Left, Back Right",
    L"Left, Right, Center, Back Left, Back Right",
    L"Left, Right, Center, Sub-woofer, Back Left, Back Right",
    L"Left, Right, Center, Sub-woofer, Back Left, Back Right, Back Center",
    L"Left, Right, Center, Sub-woofer, Back Left, Back Right, Side Left, Side Right",
};

const wchar_t* LosslessQuality(const XAudioWFX& wfx)
{
    if (wfx.BitsPerSample() == 16 && wfx.SamplesPerSec() == 44100)
        return L"CD  (Lossless)";
    if (wfx.BitsPerSample() == 16 && wfx.SamplesPerSec() == 48000)
        return L"DAT  (Lossless)";
    if (wfx.BitsPerSample() >= 24 && wfx.SamplesPerSec() >= 48000)
        return L"DVD  (Lossless)";
    return L"Perfect  (Lossless)";
}

const wchar_t* LossyQuality(const XAudioWFX& wfx)
{
    const LossyRow* row = std::begin(kLossy);
    while (row != std::end(kLossy) - 1 && row->tag != wfx.FormatTag())
        ++row;
    const int32_t perChannel =
        static_cast<int32_t>(wfx.BitRate()) / std::max<int32_t>(wfx.Channels(), 1);
    if (row->tag != 0 && perChannel >= row->high)
        return L"High  (Lossy)";
    return perChannel < row->low ? L"Low  (Lossy)" : L"Medium  (Lossy)";
}

} // namespace

XStr AudioQualityText(const XAudioWFX& wfx)
{
    const bool isLossless = wfx.FormatTag() == kTagPCM || wfx.FormatTag() == kTagFloat;
    return isLossless ? LosslessQuality(wfx) : LossyQuality(wfx);
}

XStr EncoderSettingsText(const CommonChunk& common)
{
    XStr text = clAIFFHandler::RIFFChnkID2CHR(common.compressionType);
    if (!text.empty())
        text += L" (" + common.compressionName + L")";
    return text;
}

XStr ChannelText(const XAudioWFX& wfx)
{
    return wfx.Channels() < std::size(kLayouts) ? kLayouts[wfx.Channels()] : L"";
}

void AddTagProps(const XStr& properties, NTag& props)
{
    if (properties.empty())
        return;
    props.AddTag(PropertyName::kIDTag, properties);
    props.AddTag(PropertyName::kContains, L"ID Tag [" + properties + L"]");
}

} // namespace aiff
