// SPDX-License-Identifier: MIT

// Tags and pictures of AIFF files in the form in which WAV and FLAC files hold them.
#pragma once

#include "host/base/Problem.h"
#include "host/writers/TagContent.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace aiff::host
{

// What an input has to say about its sound.
struct CarriedTags {
    // An ID3v2 tag, byte for byte; empty when there is none.
    std::vector<uint8_t> id3v2;
    // Whole chunks that a WAV file gets beside the tags; of even size.
    std::vector<uint8_t> wavChunks;
    // What it says, and texts outside of it.
    TagContent content;
    // Sentences for people about what no output can hold.
    std::vector<std::string> notes;
};

// The tags in an output, and sentences for people about what it cannot hold.
struct TagBytes {
    std::vector<uint8_t> bytes;
    std::vector<std::string> notes;
};

// The chunks that follow the samples of a WAV file: RIFF INFO and the tag. Empty when there
// are no tags.
TagBytes WavTagChunks(const CarriedTags& tags);

// The metadata blocks of a FLAC file, the last one marked as such: a Vorbis comment and the
// pictures. Tags that are larger than such blocks can hold are a problem.
//
// comment  data of the encoder's own Vorbis comment, whose vendor is kept
Result<TagBytes> FlacTagBlocks(const CarriedTags& tags, std::span<const uint8_t> comment);

// The type of a FLAC metadata block, and the flag of the last one.
inline constexpr uint8_t kCommentBlock = 4;
inline constexpr uint8_t kPictureBlock = 6;
inline constexpr uint8_t kLastBlock = 0x80;

} // namespace aiff::host
