// SPDX-License-Identifier: MIT

// Making AIFF files, as the work of a batch.
#pragma once

#include "host/batch/Batch.h"
#include "host/session/AtHand.h"

namespace aiff::host
{

struct EncodeOptions {
    Fetch fetch = Fetch::WhenNeeded;
    bool verify = false;
};

// Makes the work of one worker, which turns each input into an AIFF file, bit for bit.
FileWork MakeEncodingWork(const Trace& trace, EncodeOptions options, ProgressFunction progress);

} // namespace aiff::host
