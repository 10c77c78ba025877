// SPDX-License-Identifier: MIT

// Whether a library can be loaded safely, which depends on its format: a source per platform.
#pragma once

#include <cstdint>

namespace aiff::codecs
{

// Whether the file reaches to the end of everything that its header lists: the program would
// end when the system runs into the end of a library that is cut off. What is no library is
// left to the system to refuse.
//
// file  open for reading
// size  of the file in bytes
bool IsWholeLibrary(int file, uint64_t size);

} // namespace aiff::codecs
