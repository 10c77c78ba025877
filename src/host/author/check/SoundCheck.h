// SPDX-License-Identifier: MIT

// The checks of the chunks that describe and hold the sound.
#pragma once

#include "host/author/check/Irregularities.h"
#include "support/file/XFile.h"

#include <cstdint>
#include <functional>
#include <string>

namespace aiff::host
{

// Compares what the chunks of a form say about its audio.
class SoundCheck
{
public:
    using Say = std::function<void(IrregularityKind, const std::string&)>;

    // Takes a chunk whose `size` bytes of data begin at `position` in the file.
    void Take(uint32_t code, const XFile& file, int64_t position, int64_t size, const Say& say);

    // After the last chunk. In an AIFF-C form the sound may be compressed.
    void Finish(bool isAifc, const Say& say) const;

private:
    void TakeCommon(const XFile& file, int64_t position, int64_t size, const Say& say);
    void TakeSound(const XFile& file, int64_t position, int64_t size, const Say& say);
    void CheckFormat(bool isAifc, const Say& say) const;
    // sampleBytes  of one sample of one channel, 1 or more
    void CompareFrames(int sampleBytes, const Say& say) const;

    int m_commons = 0;
    int m_sounds = 0;
    bool m_hasVersion = false;
    // Of the first COMM chunk.
    bool m_formatKnown = false;
    int m_channels = 0;
    int m_bits = 0;
    int64_t m_frames = 0;
    int64_t m_rate = 0;
    bool m_namesCompression = false;
    uint32_t m_compression = 0;
    // Of the first SSND chunk.
    bool m_soundKnown = false;
    int64_t m_soundBytes = 0; // after prefix and offset
};

} // namespace aiff::host
