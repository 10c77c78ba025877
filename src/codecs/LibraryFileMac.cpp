// SPDX-License-Identifier: MIT
#include "codecs/LibraryFile.h"

namespace aiff::codecs
{

// The system holds the load commands against the file before it maps anything.
bool IsWholeLibrary(int, uint64_t)
{
    return true;
}

} // namespace aiff::codecs
