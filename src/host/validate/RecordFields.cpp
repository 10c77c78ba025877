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
    size_t offset;
    size_t size;
};

#define QV_FIELD(record, field)                                                                    \
    Field                                                                                          \
    {                                                                                              \
#field, offsetof(record, field), sizeof(record::field)                                     \
    }
// The part of a wave format that is written, and the parts that are not.
#define QV_WAVE_FORMAT(record, field)                                                              \
    Field{"WaveFormat", offsetof(record, field), QV_WAVE_FORMAT_BASIC_SIZE},                       \
        Field{"WaveFormat.nValidBits", offsetof(record, field.nValidBits), sizeof(uint16_t)},      \
        Field{"WaveFormat.nChannelMask", offsetof(record, field.nChannelMask), sizeof(uint32_t)},  \
        Field                                                                                      \
    {                                                                                              \
        "WaveFormat.SubFormat", offsetof(record, field.SubFormat), 16                              \
    }

const Field kOpenFields[] = {
    QV_FIELD(STQvOpenDecoder, pFileName),
    QV_FIELD(STQvOpenDecoder, nFlags),
    QV_WAVE_FORMAT(STQvOpenDecoder, AudioInfo.WaveFormat),
    QV_FIELD(STQvOpenDecoder, AudioInfo.nBitRate),
    QV_FIELD(STQvOpenDecoder, AudioInfo.nLengthMS),
    QV_FIELD(STQvOpenDecoder, AudioInfo.nLengthBytes),
    QV_FIELD(STQvOpenDecoder, nReserved),
    QV_FIELD(STQvOpenDecoder, pTagData),
    QV_FIELD(STQvOpenDecoder, nTagDataSize),
    QV_FIELD(STQvOpenDecoder, pPropertiesData),
    QV_FIELD(STQvOpenDecoder, nPropertiesDataSize),
};

const Field kBlockFields[] = {
    QV_FIELD(STQvAudioBlock, pData),
    QV_FIELD(STQvAudioBlock, nDataSize),
    QV_WAVE_FORMAT(STQvAudioBlock, WaveFormat),
    QV_FIELD(STQvAudioBlock, nBitRate),
    QV_FIELD(STQvAudioBlock, nDurationMS),
    QV_FIELD(STQvAudioBlock, nReserved),
    QV_FIELD(STQvAudioBlock, nPositionMS),
    QV_FIELD(STQvAudioBlock, nLastBlock),
};

const Field kGetSetFields[] = {
    QV_FIELD(STQvCodecGetSet, nItemIndex), QV_FIELD(STQvCodecGetSet, nDataSize),
    QV_FIELD(STQvCodecGetSet, nValue1),    QV_FIELD(STQvCodecGetSet, nValue2),
    QV_FIELD(STQvCodecGetSet, pText1),     QV_FIELD(STQvCodecGetSet, pText2),
    QV_FIELD(STQvCodecGetSet, nReserved),  QV_FIELD(STQvCodecGetSet, pData),
};

#undef QV_WAVE_FORMAT
#undef QV_FIELD

std::string Changed(std::span<const Field> fields, const void* before, const void* after,
                    const FieldNames& allowed)
{
    std::string names;
    for (const Field& field : fields) {
        const auto at = [&field](const void* record) {
            return static_cast<const uint8_t*>(record) + field.offset;
        };
        if (!allowed.contains(field.name) && std::memcmp(at(before), at(after), field.size) != 0)
            names += (names.empty() ? "" : ", ") + std::string(field.name);
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
