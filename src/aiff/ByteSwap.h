// Sample byte order: the kernels behind clAIFFHandler::ByteSwap.
//
// A kernel converts whole samples in place, whatever the alignment. The portable
// ones run everywhere and define the result; faster ones must equal them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ByteSwap
{

// `bytes` points at `count` samples of the kernel's width.
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

// Null where the processor or the build has none.
const Kernels* Avx2();

// The fastest kernels that this processor runs.
const Kernels& Best();

} // namespace ByteSwap
