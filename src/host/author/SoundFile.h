// SPDX-License-Identifier: MIT

// Sound files looked at without decoding them.
#pragma once

#include "host/base/Problem.h"

#include <cstdint>
#include <string>

namespace aiff::host
{

// Why a file is not a whole sound file, in any format: its sizes contradict each other or its
// length, or its last frame cannot be read.
Problem SoundFileDamage(const std::string& path);

// What the chunks of an AIFF file say of its sound beyond what decoders look at.
struct AiffSound {
    // Whether it is anything but integers of 8, 16, 24 or 32 bits as decoders take them.
    bool isCoded = false;
    int64_t offset = 0; // bytes of the sound chunk before plain samples
    Problem damage;
    std::string leftOut; // what no output gets, although nothing is wrong with it
};

// Of a file in another format, or one that cannot be read, nothing is said.
AiffSound ReadAiffSound(const std::string& path);

} // namespace aiff::host
