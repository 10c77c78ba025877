// SPDX-License-Identifier: MIT

// What the COMM chunk says about the audio.
#pragma once

#include "support/XAudioWFX.h"

#include <cstdint>
#include <span>

namespace aiff
{

struct CommonChunk {
    XAudioWFX wfx;
    bool littleEndian = false; // little-endian PCM: samples need no byte swap
    uint32_t compressionType;  // code, its first character in the low byte
    XStr compressionName;

    // Uncompressed big-endian PCM, as in a plain AIFF file.
    CommonChunk();
};

// Decodes the body of a COMM chunk, which must have at least 18 bytes. In an AIFF-C file the
// compression type and name are used if the chunk holds them; a name without a terminator
// ends with the chunk.
void ReadCommonChunk(std::span<const uint8_t> body, uint32_t formType, CommonChunk& common);

} // namespace aiff
