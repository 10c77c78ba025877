// SPDX-License-Identifier: MIT

// Reading a finished output back.
#pragma once

#include "host/base/Problem.h"
#include "host/batch/OutputFile.h"
#include "qvcodec.h"

#include <string>

namespace aiff::host
{

// Why a finished output must not be kept: its sound, read from the file, is not the one that
// was to be written to it. To be called before the output gets its name.
//
// sum  of the samples that were decoded, as SoundSum has it, in all bytes of these
Problem VerifyOutput(OutputFile& output, const STQvWaveFormat& format, const std::string& sum);

} // namespace aiff::host
