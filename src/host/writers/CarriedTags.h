#pragma once

#include "host/session/TagBlob.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace host
{

// The tags and pictures of an input as other kinds of files hold them. Both return
// false, with a few words in `why`, when they are larger than such a file can hold.

// Chunks to stand behind the samples of a WAV file: RIFF INFO and ID3v2.4. Nothing when
// there are no tags.
[[nodiscard]] bool WavTagChunks(const std::vector<TagItem>& tags, std::vector<uint8_t>& chunks,
                                std::string& why);

// Metadata blocks of a FLAC file, the last one marked as such: a Vorbis comment and the
// pictures.
//
// comment  data of the encoder's own Vorbis comment, whose vendor is kept
[[nodiscard]] bool FlacTagBlocks(const std::vector<TagItem>& tags, std::span<const uint8_t> comment,
                                 std::vector<uint8_t>& blocks, std::string& why);

} // namespace host
