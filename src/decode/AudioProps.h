// SPDX-License-Identifier: MIT

// Texts that describe the audio for display.
#pragma once

#include "decode/CommonChunk.h"
#include "tags/NTag.h"

namespace aiff
{

// Quality class, for instance "CD  (Lossless)".
XStr AudioQualityText(const XAudioWFX& wfx);

// The compression type and, in brackets, its name: "NONE (no compression)".
XStr EncoderSettingsText(const CommonChunk& common);

// Names of the channels, for instance "Left, Right"; empty for layouts without names.
XStr ChannelText(const XAudioWFX& wfx);

// Adds what the tag reader found to `props`: `properties`, unless it is empty.
void AddTagProps(const XStr& properties, NTag& props);

// Names of the properties that Open returns.
namespace PropertyName
{
inline constexpr const wchar_t* kAudioQuality = L"Audio Quality";
inline constexpr const wchar_t* kEncoderSettings = L"Encoder Settings";
inline constexpr const wchar_t* kChannelMapping = L"Channel Mapping";
inline constexpr const wchar_t* kSampleCount = L"Sample Count";
inline constexpr const wchar_t* kRiffChunks = L"Riff Chunks";
inline constexpr const wchar_t* kIDTag = L"ID Tag";
inline constexpr const wchar_t* kContains = L"Contains";
inline constexpr const wchar_t* kGapless = L"Gapless";
inline constexpr const wchar_t* kWaveHeader = L"Wave Header";
} // namespace PropertyName

} // namespace aiff
