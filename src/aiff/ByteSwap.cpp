// SPDX-License-Identifier: MIT
#include "aiff/ByteSwap.h"

#include "aiff/AIFFHandler.h"

#include <cstring>
#include <utility>

namespace aiff
{

namespace ByteSwap
{
namespace
{

void FlipSign8(uint8_t* bytes, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        bytes[i] ^= 0x80;
}

void Reverse16(uint8_t* bytes, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        uint16_t sample = 0;
        std::memcpy(&sample, bytes + 2 * i, 2);
        sample = static_cast<uint16_t>(sample << 8 | sample >> 8);
        std::memcpy(bytes + 2 * i, &sample, 2);
    }
}

void Reverse24(uint8_t* bytes, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        std::swap(bytes[3 * i], bytes[3 * i + 2]);
}

void Reverse32(uint8_t* bytes, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        uint32_t sample = 0;
        std::memcpy(&sample, bytes + 4 * i, 4);
        sample = __builtin_bswap32(sample);
        std::memcpy(bytes + 4 * i, &sample, 4);
    }
}

} // namespace

const Kernels& Portable()
{
    static constexpr Kernels kernels{"portable", FlipSign8, Reverse16, Reverse24, Reverse32};
    return kernels;
}

const Kernels& Best()
{
    static const Kernels& best = []() -> const Kernels& {
        for (const Kernels* kernels : {Avx2(), Neon()})
            if (kernels != nullptr)
                return *kernels;
        return Portable();
    }();
    return best;
}

} // namespace ByteSwap

void clAIFFHandler::ByteSwap(std::span<uint8_t> sound, int bitsPerSample)
{
    const ByteSwap::Kernels& kernels = ByteSwap::Best();
    switch (bitsPerSample) {
    case 8:
        return kernels.flipSign8(sound.data(), sound.size());
    case 16:
        return kernels.reverse16(sound.data(), sound.size() / 2);
    case 24:
        return kernels.reverse24(sound.data(), sound.size() / 3);
    case 32:
        return kernels.reverse32(sound.data(), sound.size() / 4);
    default:
        return;
    }
}

} // namespace aiff
