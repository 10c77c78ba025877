// SPDX-License-Identifier: MIT

// What sound files say of their own sizes.
#pragma once

#include "host/base/Problem.h"
#include "support/file/FileContent.h"

#include <cstdint>

namespace aiff::host
{

// Size fields of a file, held against the bytes that are there.
struct ContainerSizes {
    int64_t soundBytes = -1; // as the file says; -1 when it does not say it or is not known
    Problem damage;          // what the file says it has and does not
    // Why libsndfile must not read it: more than the sound, or not all of it, would be read as
    // one, or opening it would never end.
    Problem obstacle;
};

// Reads the size fields of a WAV, RF64, BW64, Wave64, CAF, IFF, AU or VOC file; what looks
// like none of them has no sizes. Sizes that programs write while they do not know better (0,
// the largest) are not held against the file.
ContainerSizes ReadContainerSizes(const FileContent& file);

} // namespace aiff::host
