// SPDX-License-Identifier: MIT

// Frames of many strings, of which readers take a limited number from each.
#pragma once

#include "tags/id3parser/fields/MetaMap.h"
#include "tags/id3parser/frames/Serialize.h"
#include "tags/id3parser/text/TextEncodings.h"

namespace aiff::id3parser
{

// Readers give up on a frame with more than kMostStrings.
inline constexpr size_t kStringsPerFrame = 1000;
static_assert(kStringsPerFrame < kMostStrings);

// Gives the sink a frame for every kStringsPerFrame values, to which start(frame, value, index)
// has added the string of each; the index counts from 0 in every frame.
template <class Start>
void EmitStrings(uint32_t id, const Values& values, const FrameSink& sink, Start start)
{
    t_frame frame(id);
    size_t count = 0;
    for (const std::string_view value : values) {
        if (count == kStringsPerFrame)
            sink(AsNew(frame));
        count %= kStringsPerFrame;
        start(frame, value, count++);
    }
    if (count != 0)
        sink(AsNew(frame));
}

} // namespace aiff::id3parser
