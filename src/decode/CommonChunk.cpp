// SPDX-License-Identifier: MIT
#include "decode/CommonChunk.h"

#include "aiff/AIFFHandler.h"

#include <algorithm>

namespace aiff
{

namespace
{

constexpr const wchar_t* kNoCompression = L"no compression";

// Offsets in the body.
constexpr size_t kChannels = 0;
constexpr size_t kSampleSize = 6;
constexpr size_t kSampleRate = 8;
constexpr size_t kCompressionType = 18;
constexpr size_t kCompressionName = 23; // after the count byte, which is ignored

XStr CompressionName(std::span<const uint8_t> body)
{
    if (body.size() <= kCompressionName)
        return {};
    const auto name = body.subspan(kCompressionName);
    const auto end = std::find(name.begin(), name.end(), 0);
    return FromAnsi(name.first(static_cast<size_t>(end - name.begin())));
}

} // namespace

CommonChunk::CommonChunk()
    : compressionType(FourCC(kCompressionNone)), compressionName(kNoCompression)
{
}

void ReadCommonChunk(std::span<const uint8_t> body, uint32_t formType, CommonChunk& common)
{
    common.wfx.Assign(clAIFFHandler::SizeToInt(&body[kChannels]),
                      clAIFFHandler::ConvertFromIeeeExtended(&body[kSampleRate]),
                      clAIFFHandler::SizeToInt(&body[kSampleSize]));
    common.littleEndian = false;
    if (!clAIFFHandler::CompareID(formType, kFormTypeAIFC, true) ||
        std::ssize(body) < kCommonSizeWithType)
        return;
    common.compressionName = CompressionName(body);
    common.compressionType = ReadCode(&body[kCompressionType]);
    uint16_t tag = clAIFFHandler::CompID2WFXFormatTag(common.compressionType);
    if (tag == kTagLittleEndianPCM) {
        tag = kTagPCM;
        common.littleEndian = true;
        common.compressionName = kNoCompression;
    }
    common.wfx.SetFormatTag(tag);
}

} // namespace aiff
