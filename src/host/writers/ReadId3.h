// SPDX-License-Identifier: MIT

// Reading ID3v2 tags as content that other formats can hold.
#pragma once

#include "host/writers/TagContent.h"

#include <cstdint>
#include <span>

namespace aiff::host
{

// The largest tag that is read, in bytes.
inline constexpr size_t kMostTagBytes = size_t{1} << 27;

// Reads the ID3v2 tag in `bytes`, which begin with its header and are at most kMostTagBytes.
// The names of properties are those of TagLib; the rules of TagNames.h add what it lacks.
//
// joined  the texts in a tag before ID3v2.4 that are to be several values
TagContent ReadId3(std::span<const uint8_t> bytes, const JoinedValues& joined = {});

} // namespace aiff::host
