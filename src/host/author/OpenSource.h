// SPDX-License-Identifier: MIT

// Opening what is to be encoded, whatever its format.
#pragma once

#include "host/author/SoundSource.h"

#include <memory>
#include <string>

namespace aiff::host
{

// Opens an AIFF file, or anything with integer PCM that libsndfile can read.
Result<std::unique_ptr<SoundSource>> OpenSource(const std::string& path,
                                                Samples samples = Samples::Integers);

} // namespace aiff::host
