// SPDX-License-Identifier: MIT

// What reading and checking AIFF files have in common: chunk codes and limits.
#pragma once

#include "aiff/AIFFHandler.h"
#include "host/base/Printable.h"

#include <cstdint>
#include <string>

namespace aiff::host
{

// Chunk codes as they are in files: four bytes, the first one in the low byte.

inline uint32_t CodeAt(const uint8_t* bytes)
{
    return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 |
           uint32_t{bytes[3]} << 24;
}

// In quotation marks.
inline std::string CodeText(uint32_t code)
{
    std::string text = "'";
    for (int i = 0; i < 4; ++i, code >>= 8)
        text.push_back(static_cast<char>(code));
    return text + "'";
}

// What a chunk is called in messages: its code and where it is.
inline std::string ChunkName(uint32_t code, int64_t position)
{
    return CodeText(code) + " at byte " + std::to_string(position);
}

// Whether every character can be printed, as those of all chunk codes can.
inline bool IsTextCode(uint32_t code)
{
    for (int i = 0; i < 4; ++i, code >>= 8)
        if ((code & 0xFF) < 0x20 || (code & 0xFF) > 0x7E)
            return false;
    return true;
}

// In upper or lower case.
inline bool IsCommonOrSound(uint32_t code)
{
    return clAIFFHandler::CompareID(code, kChunkCommon, true) ||
           clAIFFHandler::CompareID(code, kChunkSound, true);
}

inline constexpr int kMostBits = 32; // of a sample

inline std::string ImpossibleFormatText(int channels, int bits)
{
    return "has an impossible format: " + Counted(channels, "channel") + ", " +
           Counted(bits, "bit");
}

inline std::string FramesDifferText(int64_t counted, int64_t held)
{
    return "counts " + Counted(counted, "sample frame") + " in its COMM chunk and holds " +
           std::to_string(held) + " in its SSND chunk";
}

} // namespace aiff::host
