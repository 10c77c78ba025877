// SPDX-License-Identifier: MIT
#include "host/validate/RecordFields.h"

#include <cstdint>
#include <cstring>
#include <span>

namespace aiff::host::validate
{
namespace
{

struct Field {
    std::string_view name;
    size_t size; // bytes
};

// All fields of each record in their order: packed, so that one begins where the last one ends.
constexpr Field kOpenFields[] = {
    {"pFileName", sizeof(STQvOpenDecoder::pFileName)},
    {"nFlags", sizeof(STQvOpenDecoder::nFlags)},
    {"WaveFormat", QV_WAVE_FORMAT_BASIC_SIZE},
    {"WaveFormat.nValidBits", sizeof(STQvWaveFormat::nValidBits)},
    {"WaveFormat.nChannelMask", sizeof(STQvWaveFormat::nChannelMask)},
    {"WaveFormat.SubFormat", sizeof(STQvWaveFormat::SubFormat)},
    {"AudioInfo.nBitRate", sizeof(STQvAudioInfo::nBitRate)},
    {"AudioInfo.nLengthMS", sizeof(STQvAudioInfo::nLengthMS)},
    {"AudioInfo.nLengthBytes", sizeof(STQvAudioInfo::nLengthBytes)},
    {"nReserved", sizeof(STQvOpenDecoder::nReserved)},
    {"pTagData", sizeof(STQvOpenDecoder::pTagData)},
    {"nTagDataSize", sizeof(STQvOpenDecoder::nTagDataSize)},
    {"pPropertiesData", sizeof(STQvOpenDecoder::pPropertiesData)},
    {"nPropertiesDataSize", sizeof(STQvOpenDecoder::nPropertiesDataSize)},
};

constexpr Field kBlockFields[] = {
    {"pData", sizeof(STQvAudioBlock::pData)},
    {"nDataSize", sizeof(STQvAudioBlock::nDataSize)},
    {"WaveFormat", QV_WAVE_FORMAT_BASIC_SIZE},
    {"WaveFormat.nValidBits", sizeof(STQvWaveFormat::nValidBits)},
    {"WaveFormat.nChannelMask", sizeof(STQvWaveFormat::nChannelMask)},
    {"WaveFormat.SubFormat", sizeof(STQvWaveFormat::SubFormat)},
    {"nBitRate", sizeof(STQvAudioBlock::nBitRate)},
    {"nDurationMS", sizeof(STQvAudioBlock::nDurationMS)},
    {"nReserved", sizeof(STQvAudioBlock::nReserved)},
    {"nPositionMS", sizeof(STQvAudioBlock::nPositionMS)},
    {"nLastBlock", sizeof(STQvAudioBlock::nLastBlock)},
};

constexpr Field kGetSetFields[] = {
    {"nItemIndex", sizeof(STQvCodecGetSet::nItemIndex)},
    {"nDataSize", sizeof(STQvCodecGetSet::nDataSize)},
    {"nValue1", sizeof(STQvCodecGetSet::nValue1)},
    {"nValue2", sizeof(STQvCodecGetSet::nValue2)},
    {"pText1", sizeof(STQvCodecGetSet::pText1)},
    {"pText2", sizeof(STQvCodecGetSet::pText2)},
    {"nReserved", sizeof(STQvCodecGetSet::nReserved)},
    {"pData", sizeof(STQvCodecGetSet::pData)},
};

constexpr size_t SizeOf(std::span<const Field> fields)
{
    size_t size = 0;
    for (const Field& field : fields)
        size += field.size;
    return size;
}
static_assert(SizeOf(kOpenFields) == sizeof(STQvOpenDecoder));
static_assert(SizeOf(kBlockFields) == sizeof(STQvAudioBlock));
static_assert(SizeOf(kGetSetFields) == sizeof(STQvCodecGetSet));

std::string Changed(std::span<const Field> fields, const void* before, const void* after,
                    const FieldNames& allowed)
{
    std::string names;
    size_t offset = 0;
    for (const Field& field : fields) {
        const auto at = [offset](const void* record) {
            return static_cast<const uint8_t*>(record) + offset;
        };
        if (!allowed.contains(field.name) && std::memcmp(at(before), at(after), field.size) != 0)
            names += (names.empty() ? "" : ", ") + std::string(field.name);
        offset += field.size;
    }
    return names;
}

} // namespace

std::string ChangedFields(const STQvOpenDecoder& before, const STQvOpenDecoder& after,
                          const FieldNames& allowed)
{
    return Changed(kOpenFields, &before, &after, allowed);
}

std::string ChangedFields(const STQvAudioBlock& before, const STQvAudioBlock& after,
                          const FieldNames& allowed)
{
    return Changed(kBlockFields, &before, &after, allowed);
}

std::string ChangedFields(const STQvCodecGetSet& before, const STQvCodecGetSet& after,
                          const FieldNames& allowed)
{
    return Changed(kGetSetFields, &before, &after, allowed);
}

} // namespace aiff::host::validate
