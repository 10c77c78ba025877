// SPDX-License-Identifier: MIT
#include "host/author/edits/Base64.h"

#include <algorithm>
#include <limits>
#include <openssl/evp.h>

namespace aiff::host
{
namespace
{

constexpr size_t kBytes = 3; // that make so many characters:
constexpr size_t kCharacters = 4;

const unsigned char* Characters(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

} // namespace

// Frames have at most 2^28 bytes, so every length fits an int.
std::string ToBase64(std::span<const uint8_t> bytes)
{
    std::string text((bytes.size() + kBytes - 1) / kBytes * kCharacters + 1, '\0');
    const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(),
                                     static_cast<int>(bytes.size()));
    text.resize(static_cast<size_t>(size));
    return text;
}

std::optional<std::vector<uint8_t>> FromBase64(const std::string& text)
{
    const size_t end = text.find_last_not_of('=') + 1;
    const size_t padding = text.size() - end;
    if (text.size() % kCharacters != 0 || padding >= kBytes ||
        text.size() > size_t{std::numeric_limits<int>::max()})
        return std::nullopt;
    std::vector<uint8_t> bytes(text.size() / kCharacters * kBytes);
    if (EVP_DecodeBlock(bytes.data(), Characters(text), static_cast<int>(text.size())) !=
        static_cast<int>(bytes.size()))
        return std::nullopt;
    bytes.resize(bytes.size() - padding);
    return bytes;
}

} // namespace aiff::host
