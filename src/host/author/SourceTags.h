// The tags of the files that are encoded.
#pragma once

#include "host/base/Problem.h"

#include <cstdint>
#include <string>
#include <vector>

namespace aiff::host
{

// Reads the tags and pictures of an audio file in any format and makes an ID3v2 tag of even
// size from them; an empty one when there are none or they cannot be read. The ID3v2 tag of
// a WAV file is passed on unchanged. Tags that do not fit are a problem.
Result<std::vector<uint8_t>> ReadSourceTag(const std::string& path);

} // namespace aiff::host
