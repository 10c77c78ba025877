// SPDX-License-Identifier: MIT

// Arithmetic on numbers from files and hosts: results stop at the limits of 64 bits instead
// of overflowing.
#pragma once

#include <cstdint>
#include <limits>

namespace aiff
{

constexpr int64_t AddSaturated(int64_t a, int64_t b)
{
    int64_t sum = 0;
    if (!__builtin_add_overflow(a, b, &sum))
        return sum;
    return b < 0 ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
}

constexpr int64_t SubtractSaturated(int64_t a, int64_t b)
{
    int64_t difference = 0;
    if (!__builtin_sub_overflow(a, b, &difference))
        return difference;
    return b < 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
}

constexpr int64_t MultiplySaturated(int64_t a, int64_t b)
{
    int64_t product = 0;
    if (!__builtin_mul_overflow(a, b, &product))
        return product;
    return (a < 0) != (b < 0) ? std::numeric_limits<int64_t>::min()
                              : std::numeric_limits<int64_t>::max();
}

} // namespace aiff
