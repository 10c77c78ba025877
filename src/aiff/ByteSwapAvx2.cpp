// SPDX-License-Identifier: MIT

// Sample byte order with AVX2, chosen at run time.

#include "aiff/ByteSwap.h"

#if defined(__x86_64__)
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace aiff
{

#if defined(__x86_64__)

#define AIFF_AVX2 __attribute__((target("avx2")))

namespace ByteSwap
{
namespace
{

constexpr size_t kVector = 32; // bytes

AIFF_AVX2 __m256i Load(const uint8_t* bytes)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

AIFF_AVX2 void Store(uint8_t* bytes, __m256i vector)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), vector);
}

// The loops run from the end of the block to its start: a block that has just been read
// exceeds the first-level cache, which still holds its end. They are unrolled, because a
// short loop runs at half the speed when its code happens to straddle a cache line.

// Converts the bytes of whole vectors, or of the groups of them that a kernel takes at a time.
using Vectors = void (*)(uint8_t* bytes, size_t size);

// Applies `vectors` from the first place on where a sample starts and that is aligned, if there is
// one, and the portable kernel to what is before and after: an access that straddles two cache
// lines takes twice as long.
void Convert(uint8_t* bytes, size_t count, size_t width, Kernel portable, size_t group,
             Vectors vectors)
{
    const size_t size = count * width;
    size_t head = -reinterpret_cast<uintptr_t>(bytes) % kVector;
    while (head % width != 0 && head < width * kVector)
        head += kVector;
    if (head % width != 0 || head > size)
        head = 0;
    const size_t whole = (size - head) / group * group;
    portable(bytes, head / width);
    portable(bytes + head + whole, (size - head - whole) / width);
    vectors(bytes + head, whole);
}

AIFF_AVX2 void FlipSigns(uint8_t* bytes, size_t size)
{
    const __m256i sign = _mm256_set1_epi8(static_cast<char>(0x80));
#pragma GCC unroll 4
    for (size_t left = size; left != 0; left -= kVector) {
        uint8_t* vector = bytes + left - kVector;
        Store(vector, _mm256_xor_si256(Load(vector), sign));
    }
}

void FlipSign8(uint8_t* bytes, size_t count)
{
    Convert(bytes, count, 1, Portable().flipSign8, kVector, FlipSigns);
}

// Applies one shuffle to both halves of every vector in `size` bytes, which must be a
// multiple of the vector's size.
AIFF_AVX2 void Shuffle(uint8_t* bytes, size_t size, __m256i order)
{
#pragma GCC unroll 4
    for (size_t left = size; left != 0; left -= kVector) {
        uint8_t* vector = bytes + left - kVector;
        Store(vector, _mm256_shuffle_epi8(Load(vector), order));
    }
}

AIFF_AVX2 void ReverseVectors16(uint8_t* bytes, size_t size)
{
    const __m256i order = _mm256_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14, 1,
                                           0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
    Shuffle(bytes, size, order);
}

void Reverse16(uint8_t* bytes, size_t count)
{
    Convert(bytes, count, 2, Portable().reverse16, kVector, ReverseVectors16);
}

AIFF_AVX2 void ReverseVectors32(uint8_t* bytes, size_t size)
{
    const __m256i order = _mm256_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12, 3,
                                           2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12);
    Shuffle(bytes, size, order);
}

void Reverse32(uint8_t* bytes, size_t count)
{
    Convert(bytes, count, 4, Portable().reverse32, kVector, ReverseVectors32);
}

// Two 16-byte pieces, one per half of a vector.
AIFF_AVX2 __m256i LoadHalves(const uint8_t* low, const uint8_t* high)
{
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(low));
    const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(high));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(first), second, 1);
}

AIFF_AVX2 void StoreHalves(uint8_t* low, uint8_t* high, __m256i vector)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(low), _mm256_castsi256_si128(vector));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(high), _mm256_extracti128_si256(vector, 1));
}

// The same 16 byte indexes for both halves; -1 gives a zero byte.
#define AIFF_HALVES(...) _mm256_broadcastsi128_si256(_mm_setr_epi8(__VA_ARGS__))

// 16 samples take 48 bytes, that is three halves; the vectors hold two such groups side
// by side. The samples that straddle two halves exchange their outer bytes.
constexpr size_t kGroup = 48;

AIFF_AVX2 void ReverseVectors24(uint8_t* bytes, size_t size)
{
    const __m256i first = AIFF_HALVES(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, -1);
    const __m256i firstFromSecond =
        AIFF_HALVES(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 1);
    const __m256i second = AIFF_HALVES(0, -1, 4, 3, 2, 7, 6, 5, 10, 9, 8, 13, 12, 11, -1, 15);
    const __m256i secondFromFirst =
        AIFF_HALVES(-1, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m256i secondFromThird =
        AIFF_HALVES(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, -1);
    const __m256i third = AIFF_HALVES(-1, 3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10, 15, 14, 13);
    const __m256i thirdFromSecond =
        AIFF_HALVES(14, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    for (size_t left = size; left != 0; left -= 2 * kGroup) {
        uint8_t* low = bytes + left - 2 * kGroup;
        uint8_t* high = low + kGroup;
        const __m256i a = LoadHalves(low, high);
        const __m256i b = LoadHalves(low + 16, high + 16);
        const __m256i c = LoadHalves(low + 32, high + 32);
        StoreHalves(low, high,
                    _mm256_or_si256(_mm256_shuffle_epi8(a, first),
                                    _mm256_shuffle_epi8(b, firstFromSecond)));
        StoreHalves(low + 16, high + 16,
                    _mm256_or_si256(_mm256_shuffle_epi8(b, second),
                                    _mm256_or_si256(_mm256_shuffle_epi8(a, secondFromFirst),
                                                    _mm256_shuffle_epi8(c, secondFromThird))));
        StoreHalves(low + 32, high + 32,
                    _mm256_or_si256(_mm256_shuffle_epi8(c, third),
                                    _mm256_shuffle_epi8(b, thirdFromSecond)));
    }
}

void Reverse24(uint8_t* bytes, size_t count)
{
    Convert(bytes, count, 3, Portable().reverse24, 2 * kGroup, ReverseVectors24);
}

// Asked of the processor itself: __builtin_cpu_supports() needs a part of the compiler's runtime
// that a system may lack. The operating system, too, has to keep the wide registers.
__attribute__((target("xsave"))) bool HasAvx2()
{
    constexpr uint64_t kWideRegisters = 6; // the halves of which they consist
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & bit_OSXSAVE) == 0 || (c & bit_AVX) == 0 ||
        (static_cast<uint64_t>(_xgetbv(0)) & kWideRegisters) != kWideRegisters)
        return false;
    return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & bit_AVX2) != 0;
}

} // namespace

const Kernels* Avx2()
{
    static constexpr Kernels kernels{"avx2", FlipSign8, Reverse16, Reverse24, Reverse32};
    return HasAvx2() ? &kernels : nullptr;
}

} // namespace ByteSwap

#else

const ByteSwap::Kernels* ByteSwap::Avx2()
{
    return nullptr;
}

#endif

} // namespace aiff
