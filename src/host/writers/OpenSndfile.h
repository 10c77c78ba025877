// SPDX-License-Identifier: MIT

// Opening files with libsndfile, from any thread.
#pragma once

#include "host/base/Problem.h"

#include <functional>
#include <sndfile.h>

namespace aiff::host
{

// Calls `open`, which is sf_open() or a function like it. The library keeps the reason of a
// failure in one place for the whole process, so only one thread at a time does this.
//
// returns the file, which the caller closes, or why there is none
Result<SNDFILE*> OpenSndfile(const std::function<SNDFILE*()>& open);

} // namespace aiff::host
