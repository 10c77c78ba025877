// Tags and pictures in the form in which WAV and FLAC files hold them.
#pragma once

#include "host/base/Problem.h"
#include "host/session/TagBlob.h"

#include <cstdint>
#include <span>
#include <vector>

namespace aiff::host
{

// Tags that are larger than the file can hold are a problem.

// The chunks that follow the samples of a WAV file: RIFF INFO and ID3v2.4. Empty when there
// are no tags.
Result<std::vector<uint8_t>> WavTagChunks(const std::vector<TagItem>& tags);

// The metadata blocks of a FLAC file, the last one marked as such: a Vorbis comment and the
// pictures.
//
// comment  data of the encoder's own Vorbis comment, whose vendor is kept
Result<std::vector<uint8_t>> FlacTagBlocks(const std::vector<TagItem>& tags,
                                           std::span<const uint8_t> comment);

// The type of a FLAC metadata block, and the flag of the last one.
inline constexpr uint8_t kCommentBlock = 4;
inline constexpr uint8_t kPictureBlock = 6;
inline constexpr uint8_t kLastBlock = 0x80;

} // namespace aiff::host
