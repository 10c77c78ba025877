// SPDX-License-Identifier: MIT

// The sound of AIFF files that decoders do not take.
#pragma once

#include "host/session/DecoderSession.h"
#include "host/session/PcmReader.h"

#include <memory>
#include <string>

namespace aiff::host
{

// Sound in an AIFF file, whatever its coding and the width of its samples.
struct CodedSound {
    std::unique_ptr<PcmReader> reader;
    std::string coding;  // in the file, such as "ulaw"
    int bits = 0;        // of a sample, as the file says
    std::string decoder; // who decodes it, by name

    // For people: "16-bit integers", and a sentence about what becomes of the sound.
    std::string Becomes() const;
    std::string Way() const;
};

// Opens those frames of a range that the sound has. Floating-point samples stay that, integers
// get the whole bytes that hold them, and companded or packed samples become 16 bits.
Result<CodedSound> OpenCodedSound(const std::string& path, FrameRange range);

} // namespace aiff::host
