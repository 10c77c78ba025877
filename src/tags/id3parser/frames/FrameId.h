// SPDX-License-Identifier: MIT

// Frame identifiers: four ASCII characters, the first in the top byte. 0 is no
// identifier.
#pragma once

#include <cstdint>

namespace aiff::id3parser
{

constexpr uint32_t FrameId(const char (&text)[5])
{
    uint32_t id = 0;
    for (int i = 0; i < 4; ++i)
        id = id << 8 | static_cast<uint8_t>(text[i]);
    return id;
}

inline constexpr uint32_t kFrameAPIC = FrameId("APIC");
inline constexpr uint32_t kFrameCOMM = FrameId("COMM");
inline constexpr uint32_t kFrameLINK = FrameId("LINK");
inline constexpr uint32_t kFramePOPM = FrameId("POPM");
inline constexpr uint32_t kFrameTDAT = FrameId("TDAT");
inline constexpr uint32_t kFrameTXXX = FrameId("TXXX");
inline constexpr uint32_t kFrameTYER = FrameId("TYER");
inline constexpr uint32_t kFrameUSLT = FrameId("USLT");
inline constexpr uint32_t kFrameWXXX = FrameId("WXXX");

static_assert(FrameId("TIT2") == 0x54495432);

} // namespace aiff::id3parser
