// SPDX-License-Identifier: MIT

// Sample byte order with NEON, which every ARM64 processor has. Compilers make as much of the
// portable kernels of the other widths, but not of that for 24 bits.

#include "aiff/ByteSwap.h"

#if defined(__aarch64__)
#include <arm_neon.h>
#include <utility>
#endif

namespace aiff
{

#if defined(__aarch64__)

namespace ByteSwap
{
namespace
{

// A load takes 16 samples apart into their first, second and third bytes. The loop runs from
// the end of the block, as those with AVX2 do.
void Reverse24(uint8_t* bytes, size_t count)
{
    constexpr size_t kGroup = 48; // bytes
    size_t left = count / 16 * kGroup;
    Portable().reverse24(bytes + left, count % 16);
    for (; left != 0; left -= kGroup) {
        uint8_t* group = bytes + left - kGroup;
        uint8x16x3_t samples = vld3q_u8(group);
        std::swap(samples.val[0], samples.val[2]);
        vst3q_u8(group, samples);
    }
}

} // namespace

const Kernels* Neon()
{
    static const Kernels kernels{"neon", Portable().flipSign8, Portable().reverse16, Reverse24,
                                 Portable().reverse32};
    return &kernels;
}

} // namespace ByteSwap

#else

const ByteSwap::Kernels* ByteSwap::Neon()
{
    return nullptr;
}

#endif

} // namespace aiff
