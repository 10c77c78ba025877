// What the COMM chunk says of the audio.
#pragma once

#include "support/XAudioWFX.h"

#include <cstdint>
#include <span>

struct STCommonChunk {
    XAudioWFX wfx;
    bool littleEndian = false; // little-endian PCM: samples are handed out as they are
    uint32_t compressionType;  // four-character code
    XStr compressionName;

    // Uncompressed big-endian PCM, as in a plain AIFF file.
    STCommonChunk();
};

// Decodes the body of a COMM chunk, at least 18 bytes. The compression type and name
// of an AIFF-C file count when the chunk holds them; a name without a terminator
// ends with the chunk.
void ReadCommonChunk(std::span<const uint8_t> body, uint32_t formType, STCommonChunk& common);
