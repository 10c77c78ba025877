// SPDX-License-Identifier: MIT

// Sample byte order: the kernels that clAIFFHandler::ByteSwap chooses from.
//
// A kernel converts whole samples in place, whatever the alignment. The portable
// ones run everywhere and define the result; faster ones must equal them.
// Those for a processor have a source of their own, ByteSwapAvx2.cpp and ByteSwapNeon.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

namespace aiff::ByteSwap
{

// `bytes` points to `count` samples of the kernel's width.
using Kernel = void (*)(uint8_t* bytes, size_t count);

// One kernel per sample width.
struct Kernels {
    const char* name;
    Kernel flipSign8; // signed <-> unsigned
    Kernel reverse16;
    Kernel reverse24;
    Kernel reverse32;
};

const Kernels& Portable();

// Null when the processor or the build lacks AVX2.
const Kernels* Avx2();

// Null on other processors than ARM64.
const Kernels* Neon();

// The fastest kernels that this processor runs.
const Kernels& Best();

} // namespace aiff::ByteSwap
