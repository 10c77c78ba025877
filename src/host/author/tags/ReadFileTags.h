// SPDX-License-Identifier: MIT

// Reading the tags of AIFF files without a decoder.
#pragma once

#include "host/base/Input.h"
#include "host/session/FileTags.h"

#include <optional>

namespace aiff::host
{

// Reads the tags of an AIFF or AIFF-C file. None for a stream, and for a file that cannot be opened
// or is in another format.
std::optional<FileTags> ReadFileTags(const Input& input);

} // namespace aiff::host
