// SPDX-License-Identifier: MIT

// The ways in which AIFF-C files code their sound.
#pragma once

#include <cstdint>

namespace aiff::host
{

// A registered compression type. Sound comes in units, which are samples of one channel or
// packets of them.
struct Coding {
    const char* code;
    int unitBytes;       // 0: as the COMM chunk's bits tell; -1: units have no size of their own
    int unitFrames;      // samples in a unit
    const char* library; // libsndfile's code for the same; null where it has none
    int bits;            // what it wants to be told; 0: the COMM chunk's, as whole bytes
};

// Of a coding for which libsndfile must know the COMM chunk's own bits.
inline constexpr int kOwnBits = -1;

// Null for a type that is not registered. Upper and lower case are the same.
const Coding* FindCoding(uint32_t code);

} // namespace aiff::host
