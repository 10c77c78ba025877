// SPDX-License-Identifier: MIT

// The decode range within the sound data.
#pragma once

#include "support/SaturatingMath.h"
#include "support/XAudioWFX.h"

#include <algorithm>

namespace aiff
{

// Positions are bytes from the start of the input.
struct SoundRange {
    int64_t rangeStart = 0; // first sample frame of the decode range
    int64_t rangeEnd = -1;  // end frame, exclusive, counted from the start of the data;
                            // -1: to the end of the audio
    int64_t dataStart = 0;  // position of the first sound byte
    int64_t dataEnd = 0;    // position after the last sound byte

    // Positions of the first byte to decode and of the end, both inside the sound data.
    int64_t DecodeFrom(const XAudioWFX& wfx) const
    {
        return Within(MultiplySaturated(rangeStart, wfx.BlockAlign()));
    }

    int64_t DecodeTo(const XAudioWFX& wfx) const
    {
        if (rangeEnd == -1)
            return Within(wfx.BlockAlignBuffer(dataEnd - dataStart));
        return Within(MultiplySaturated(rangeEnd, wfx.BlockAlign()));
    }

    // Bytes in the decode range; 0 when it is empty or reversed.
    int64_t LengthBytes(const XAudioWFX& wfx) const
    {
        const int64_t from = DecodeFrom(wfx);
        return std::max(DecodeTo(wfx), from) - from;
    }

    // Position of a frame counted from the start of the range: at most the range's end,
    // but with no lower bound.
    int64_t PositionOf(int64_t frame, const XAudioWFX& wfx) const
    {
        const int64_t offset = MultiplySaturated(frame, wfx.BlockAlign());
        return std::min(AddSaturated(DecodeFrom(wfx), offset), DecodeTo(wfx));
    }

private:
    // The upper bound is applied last: in a sound chunk too short for its own prefix, the
    // end lies before the start.
    int64_t Within(int64_t offset) const
    {
        return std::min(std::max(AddSaturated(dataStart, offset), dataStart), dataEnd);
    }
};

// Most bytes of one block, before it is rounded down to whole frames.
inline constexpr int64_t kBlockBytes = 65536;

} // namespace aiff
