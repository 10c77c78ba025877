// SPDX-License-Identifier: MIT

// Reading what is carried from AIFF files to files in other formats.
#pragma once

#include "host/base/Input.h"
#include "host/session/TagBlob.h"
#include "host/writers/CarriedTags.h"

namespace aiff::host
{

// Reads the tag and the texts of an AIFF or AIFF-C file. Of other inputs, which only their
// decoders can read, a tag is made of the items that the decoder shows.
CarriedTags ReadCarriedTags(const Input& input, const std::vector<TagItem>& shown);

} // namespace aiff::host
