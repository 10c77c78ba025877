// SPDX-License-Identifier: MIT

// Number fields of AIFF files.

#include "aiff/AIFFHandler.h"

#include <cmath>
#include <limits>

namespace aiff
{

namespace
{

constexpr int kExponentBias = 16383;
constexpr uint32_t kExponentMask = 0x7FFF;

uint32_t ReadU32(const uint8_t* bytes)
{
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 |
           uint32_t{bytes[3]};
}

void WriteU32(uint32_t value, uint8_t* bytes)
{
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

struct CompressionRow {
    const char* name; // upper or lower case
    uint16_t tag;
};

constexpr CompressionRow kCompressions[] = {
    {kCompressionNone, kTagPCM}, {"SOWT", kTagLittleEndianPCM},
    {"FL32", kTagFloat},         {"FL64", kTagFloat},
    {"ALAW", kTagALaw},          {"ULAW", kTagMuLaw}};

} // namespace

int clAIFFHandler::SizeToInt(const uint8_t* bytes)
{
    return static_cast<int16_t>(uint32_t{bytes[0]} << 8 | bytes[1]);
}

int64_t clAIFFHandler::SizeToInt64(const uint8_t* bytes)
{
    return ReadU32(bytes);
}

// Division, not a shift: -1 is stored as 00 FF.
void clAIFFHandler::IntToSize(int16_t value, uint8_t* bytes)
{
    bytes[0] = static_cast<uint8_t>(value / 256);
    bytes[1] = static_cast<uint8_t>(value);
}

void clAIFFHandler::Int64ToSize(int64_t value, uint8_t* bytes)
{
    for (int i = 3; i >= 0; --i, value /= 256)
        bytes[i] = static_cast<uint8_t>(value);
}

int64_t clAIFFHandler::ConvertFromIeeeExtended(const uint8_t* bytes)
{
    const int exponent = (bytes[0] & 0x7F) << 8 | bytes[1];
    const uint32_t high = ReadU32(bytes + 2);
    const uint32_t low = ReadU32(bytes + 6);
    const int scale = exponent - kExponentBias;
    double value = std::ldexp(high, scale - 31) + std::ldexp(low, scale - 63);
    if (exponent == kExponentMask)
        value = std::numeric_limits<double>::infinity();
    if ((bytes[0] & 0x80) != 0)
        value = -value;
    constexpr double kLimit = 9223372036854775808.0; // 2^63
    if (!(value >= -kLimit && value < kLimit))
        return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(value);
}

void clAIFFHandler::ConvertToIeeeExtended(double value, uint8_t* bytes)
{
    const uint32_t sign = value < 0 ? 0x8000 : 0;
    uint32_t exponent = 0;
    double high = 0;
    double low = 0;
    if (value != 0) {
        int power = 0;
        const double fraction = std::frexp(std::fabs(value), &power);
        if (fraction < 1) {
            // Every double has a normal 80-bit form: no power is out of range here.
            exponent = static_cast<uint32_t>(power + kExponentBias - 1) | sign;
            const double scaled = std::ldexp(fraction, 32);
            high = std::floor(scaled);
            low = std::floor(std::ldexp(scaled - high, 32));
        } else {
            exponent = kExponentMask | sign; // infinity, and NaN written as infinity
        }
    }
    bytes[0] = static_cast<uint8_t>(exponent >> 8);
    bytes[1] = static_cast<uint8_t>(exponent);
    WriteU32(static_cast<uint32_t>(high), bytes + 2);
    WriteU32(static_cast<uint32_t>(low), bytes + 6);
}

uint16_t clAIFFHandler::CompID2WFXFormatTag(uint32_t code)
{
    for (const CompressionRow& row : kCompressions)
        if (CompareID(code, row.name, true))
            return row.tag;
    return kTagUnknown;
}

} // namespace aiff
