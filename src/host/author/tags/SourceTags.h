// SPDX-License-Identifier: MIT

// The tags of the files that are encoded.
#pragma once

#include "host/author/tags/RawChunk.h"
#include "host/base/Problem.h"

#include <cstdint>
#include <sndfile.h>
#include <string>
#include <vector>

namespace aiff::host
{

struct SourceTags {
    std::vector<uint8_t> id3v2; // of even size; empty when there are no tags
    // Those of a WAV file with markers, loops and broadcast data, which are no tags.
    std::vector<RawChunk> marks;
    // Sentences for people about what is not in the tag.
    std::vector<std::string> notes;
};

// Reads the tags and pictures of an audio file in any format but AIFF and makes an ID3v2 tag of
// them; an empty one when they cannot be read. The ID3v2 tag of a WAV file is passed on
// unchanged where its INFO list says nothing more. Tags that do not fit are a problem.
//
// file  the same file, opened for reading
Result<SourceTags> ReadSourceTags(const std::string& path, SNDFILE* file);

} // namespace aiff::host
