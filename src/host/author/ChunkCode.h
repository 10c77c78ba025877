#pragma once

#include <cstdint>
#include <string>

namespace host
{

// Chunk codes as they stand in files: four bytes, the first in the low byte.

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

// Whether every character can be printed, as those of all chunks can.
inline bool IsTextCode(uint32_t code)
{
    for (int i = 0; i < 4; ++i, code >>= 8)
        if ((code & 0xFF) < 0x20 || (code & 0xFF) > 0x7E)
            return false;
    return true;
}

} // namespace host
