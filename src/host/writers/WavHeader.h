#pragma once

#include "qvcodec.h"

#include <cstdint>
#include <string>
#include <vector>

namespace host
{

// All bytes of a WAV file before its samples, for `pcmBytes` bytes of PCM (whole
// sample frames): a classic RIFF header, or an RF64 one when the file passes 4 GiB. An
// odd number of bytes is to be followed by one zero byte.
//
// chunksBehind  bytes of the chunks that follow the samples
// returns nothing when the format fits no WAV file; `why` then says so in a few
//         words
std::vector<uint8_t> WavHeader(const STQvWaveFormat& format, int64_t pcmBytes, std::string& why,
                               int64_t chunksBehind = 0);

// The same with room for an RF64 header in any case, so that it has one size whatever
// the length; for kUnknownLength all sizes say the most, as readers of a stream expect.
inline constexpr int64_t kUnknownLength = -1;
std::vector<uint8_t> RoomyWavHeader(const STQvWaveFormat& format, int64_t pcmBytes,
                                    std::string& why, int64_t chunksBehind = 0);

} // namespace host
