#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host
{

// Reads the tags and pictures of an audio file of any kind and makes an ID3v2 tag of
// them, of even size; nothing when it has none or they cannot be read. A WAV file's own
// ID3v2 tag is handed on as it stands.
//
// returns false when they do not fit an ID3v2 tag
[[nodiscard]] bool ReadSourceTag(const std::string& path, std::vector<uint8_t>& tag);

} // namespace host
