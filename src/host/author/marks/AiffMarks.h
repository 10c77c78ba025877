// SPDX-License-Identifier: MIT

// Markers and loops in AIFF files: the chunks MARK, INST and COMT, and bext and iXML, which some
// programs put there as they are in WAV files.
#pragma once

#include "host/author/marks/SoundMarks.h"
#include "host/author/tags/RawChunk.h"

#include <string>
#include <vector>

namespace aiff::host
{

// Of a file in another format, or one that cannot be read, there are none.
SoundMarks ReadAiffMarks(const std::string& path);

// The chunks that hold them. What they cannot hold is added to the notes of `marks`, and new
// markers are added where loops begin and end without one.
std::vector<RawChunk> MakeAiffMarks(SoundMarks& marks);

} // namespace aiff::host
