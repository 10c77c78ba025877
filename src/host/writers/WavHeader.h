// SPDX-License-Identifier: MIT

// The beginning of a WAV file.
#pragma once

#include "host/base/Problem.h"
#include "qvcodec.h"

#include <cstdint>
#include <vector>

namespace aiff::host
{

// All bytes of a WAV file before its samples, for `pcmBytes` bytes of PCM (whole sample
// frames): a classic RIFF header, or an RF64 one when the file exceeds 4 GiB. The caller
// adds a zero byte after an odd number of bytes.
//
// A format that fits no WAV file is a problem.
//
// chunksAfter  bytes of the chunks that follow the samples
Result<std::vector<uint8_t>> WavHeader(const STQvWaveFormat& format, int64_t pcmBytes,
                                       int64_t chunksAfter = 0);

// The same, but always with room for an RF64 header, so that its size does not depend on the
// length. For kUnknownLength all sizes are the largest, as readers of a stream expect.
inline constexpr int64_t kUnknownLength = -1;
Result<std::vector<uint8_t>> RoomyWavHeader(const STQvWaveFormat& format, int64_t pcmBytes,
                                            int64_t chunksAfter = 0);

} // namespace aiff::host
