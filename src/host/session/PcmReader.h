// SPDX-License-Identifier: MIT

// Reading decoded sound, whoever decodes it.
#pragma once

#include "host/base/Problem.h"
#include "qvcodec.h"

#include <cstdint>
#include <span>
#include <string>

namespace aiff::host
{

// The format tag of floating-point samples, beside QV_FORMAT_PCM.
inline constexpr uint16_t kFormatFloat = 3;

// Sound of a known format that comes block by block, once.
class PcmReader
{
public:
    enum class Step { Block, End, Failed };

    virtual ~PcmReader() = default;

    virtual STQvWaveFormat Format() const = 0;
    // Bytes of sound; -1 when it has no known end: then it ends where Next() fails.
    virtual int64_t Length() const = 0;
    // The next block of samples, in the form of a WAV file and valid until the next call.
    [[nodiscard]] virtual Step Next(std::span<const uint8_t>& pcm) = 0;
    // After Next() has failed: why.
    virtual Problem Failure() const = 0;
    // What is wrong with the input although it could be decoded.
    virtual Problem Damage() const { return {}; }
    // After the end: what there is to say about the samples, for people; mostly empty.
    virtual std::string Note() const { return {}; }
};

} // namespace aiff::host
