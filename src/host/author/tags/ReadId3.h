// SPDX-License-Identifier: MIT

// Reading ID3v2 tags as content that other formats can hold.
#pragma once

#include "host/writers/TagContent.h"

#include <cstdint>
#include <span>

namespace aiff::host
{

// Reads the ID3v2 tag of any version at the front of the bytes. Of a damaged one, what can be
// found. The names of properties are those of TagLib; the rules of TagNames.h add what it lacks.
TagContent ReadId3(std::span<const uint8_t> bytes);

} // namespace aiff::host
