// SPDX-License-Identifier: MIT
#include "support/text/Utf8.h"

#include "support/text/Unicode.h"

#include <algorithm>
#include <bit>
#include <iterator>

namespace aiff
{

namespace
{

constexpr size_t kMostBytes = 6;

// The first code point that takes more than 1, 2, ... 6 bytes.
constexpr uint32_t kLimits[kMostBytes] = {0x80, 0x800, 0x10000, 0x200000, 0x4000000, 0x80000000};

// Reads a character of two to six bytes and returns their number, 0 when there is none.
size_t ReadSequence(std::string_view bytes, uint32_t& codePoint)
{
    const auto lead = static_cast<uint8_t>(bytes[0]);
    const auto length = static_cast<size_t>(std::countl_one(lead));
    if (length < 2 || length > std::min(bytes.size(), kMostBytes))
        return 0;
    uint32_t value = lead & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<uint8_t>(bytes[i]);
        if ((byte & 0xC0) != 0x80)
            return 0;
        value = value << 6 | (byte & 0x3Fu);
    }
    codePoint = value;
    return value >= kLimits[length - 2] ? length : 0;
}

} // namespace

bool TakeUtf8(std::string_view& bytes, Utf8Policy policy, uint32_t& codePoint)
{
    codePoint = 0;
    if (bytes.empty())
        return false;
    const auto first = static_cast<uint8_t>(bytes[0]);
    uint32_t value = first;
    size_t length = first < 0x80 ? 1 : ReadSequence(bytes, value);
    if (policy != Utf8Policy::Extended && !IsScalarValue(value))
        length = 0;
    if (length == 0 && policy == Utf8Policy::RawBytes) {
        value = 0xDC00u + first;
        length = 1;
    }
    if (length == 0)
        return false;
    codePoint = value;
    bytes.remove_prefix(length);
    return true;
}

size_t EncodeUtf8(uint32_t codePoint, char* out)
{
    if (codePoint < 0x80) { // nearly all
        if (out != nullptr)
            *out = static_cast<char>(codePoint);
        return 1;
    }
    const auto* limit = std::upper_bound(std::begin(kLimits), std::end(kLimits), codePoint);
    if (limit == std::end(kLimits))
        return 0;
    const auto length = static_cast<size_t>(limit - kLimits) + 1;
    if (out == nullptr)
        return length;
    for (size_t i = length - 1; i > 0; --i, codePoint >>= 6)
        out[i] = static_cast<char>(0x80 | (codePoint & 0x3F));
    out[0] = static_cast<char>((0xFF00u >> length & 0xFF) | codePoint);
    return length;
}

void AppendUtf8(std::string& out, uint32_t codePoint)
{
    char bytes[kMostBytes];
    out.append(bytes, EncodeUtf8(codePoint, bytes));
}

} // namespace aiff
