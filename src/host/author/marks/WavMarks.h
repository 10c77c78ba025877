// SPDX-License-Identifier: MIT

// Markers and loops in WAV files: the chunks "cue ", LIST adtl, smpl and inst, bext and iXML.
#pragma once

#include "host/author/marks/SoundMarks.h"
#include "host/author/tags/RawChunk.h"

#include <cstdint>
#include <span>
#include <vector>

namespace aiff::host
{

// The marks in the chunks of a WAV file, which may come in any order.
SoundMarks ReadWavMarks(std::span<const RawChunk> chunks);

// The chunks that hold them, whole with headers and pad bytes. What they cannot hold is added
// to the notes of `marks`.
//
// rate  sample frames per second
std::vector<uint8_t> MakeWavMarks(SoundMarks& marks, uint32_t rate);

} // namespace aiff::host
