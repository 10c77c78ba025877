// SPDX-License-Identifier: MIT
#include "host/author/check/SoundCheck.h"

#include "aiff/AIFFHandler.h"
#include "host/author/Coding.h"
#include "host/author/tags/AiffForm.h"
#include "host/base/Printable.h"

#include <algorithm>
#include <array>
#include <span>

namespace aiff::host
{
namespace
{

using enum IrregularityKind;

constexpr const char* kChunkVersion = "FVER";

} // namespace

void SoundCheck::Take(uint32_t code, const XFile& file, int64_t position, int64_t size,
                      const Say& say)
{
    if (code == FourCC(kChunkCommon)) {
        if (++m_commons == 1)
            TakeCommon(file, position, size, say);
    } else if (code == FourCC(kChunkSound)) {
        if (++m_sounds == 1)
            TakeSound(file, position, size, say);
    } else if (IsCommonOrSound(code)) {
        say(LowerCaseSound,
            "has a COMM or SSND chunk in lower-case letters, which most readers overlook");
    }
    m_hasVersion |= code == FourCC(kChunkVersion);
}

void SoundCheck::TakeCommon(const XFile& file, int64_t position, int64_t size, const Say& say)
{
    std::array<uint8_t, kCommonSizeWithType> body{};
    const size_t wanted = static_cast<size_t>(std::min<int64_t>(size, std::ssize(body)));
    if (size < kLeastCommonSize || size > kMostCommonSize ||
        file.ReadAt(position, std::span(body).first(wanted)) != wanted) {
        say(UnusableCommon,
            "has a COMM chunk of " + Counted(size, "byte") + ", which cannot be used");
        return;
    }
    m_formatKnown = true;
    m_channels = clAIFFHandler::SizeToInt(&body[0]);
    m_frames = clAIFFHandler::SizeToInt64(&body[2]);
    m_bits = clAIFFHandler::SizeToInt(&body[6]);
    m_rate = clAIFFHandler::ConvertFromIeeeExtended(&body[8]);
    m_namesCompression = size >= kCommonSizeWithType;
    m_compression = CodeAt(&body[kLeastCommonSize]);
}

void SoundCheck::TakeSound(const XFile& file, int64_t position, int64_t size, const Say& say)
{
    std::array<uint8_t, kSoundPrefixSize> prefix{};
    if (size < kSoundPrefixSize || file.ReadAt(position, prefix) != prefix.size()) {
        say(ShortSoundChunk, "has an SSND chunk that is too short for its own fields");
        return;
    }
    m_soundKnown = true;
    const int64_t offset = clAIFFHandler::SizeToInt64(prefix.data());
    if (offset != 0)
        say(SampleOffset, "has its samples " + Counted(offset, "byte") +
                              " into its SSND chunk, which some readers ignore");
    m_soundBytes = std::max<int64_t>(size - kSoundPrefixSize - offset, 0);
}

void SoundCheck::Finish(bool isAifc, const Say& say) const
{
    if (m_commons == 0)
        say(NoCommon, "has no COMM chunk, so its audio format is unknown");
    if (m_commons > 1)
        say(SeveralCommons,
            "has " + std::to_string(m_commons) + " COMM chunks, where one is allowed");
    if (m_sounds > 1)
        say(SeveralSounds,
            "has " + std::to_string(m_sounds) + " SSND chunks, where one is allowed");
    if (isAifc && !m_hasVersion)
        say(NoVersion, "is AIFF-C and has no FVER chunk");
    if (m_formatKnown)
        CheckFormat(isAifc, say);
    if (m_sounds == 0 && m_frames > 0)
        say(NoSound, "has no SSND chunk, although its COMM chunk counts " +
                         Counted(m_frames, "sample frame"));
}

void SoundCheck::CheckFormat(bool isAifc, const Say& say) const
{
    const bool named = isAifc && m_namesCompression;
    const Coding* coding = FindCoding(named ? m_compression : FourCC(kCompressionNone));
    constexpr int kDoubleBits = 64;
    const bool isDouble = coding != nullptr && coding->unitBytes * 8 == kDoubleBits;
    const bool possible =
        m_channels >= 1 && m_bits >= 1 && m_bits <= (isDouble ? kDoubleBits : kMostBits);
    if (!possible)
        say(ImpossibleFormat, ImpossibleFormatText(m_channels, m_bits));
    if (m_rate <= 0)
        say(ImpossibleRate, "has an impossible sample rate");
    if (isAifc && !m_namesCompression)
        say(NoCompressionName, "is AIFF-C and does not name its compression");
    else if (coding == nullptr)
        say(UnknownCompression, "has an unknown compression " + CodeText(m_compression));
    else if (coding->unitBytes >= 0 && coding->unitFrames == 1 && possible && m_soundKnown)
        CompareFrames(coding->unitBytes == 0 ? (m_bits + 7) / 8 : coding->unitBytes, say);
}

void SoundCheck::CompareFrames(int sampleBytes, const Say& say) const
{
    const int64_t frameBytes = int64_t{m_channels} * sampleBytes;
    const int64_t held = m_soundBytes / frameBytes;
    if (m_soundBytes % frameBytes != 0)
        say(PartOfFrame, "has " + Counted(m_soundBytes % frameBytes, "byte") +
                             " of sound beyond its last whole sample frame");
    if (held != m_frames)
        say(FramesDiffer, FramesDifferText(m_frames, held));
}

} // namespace aiff::host
