// SPDX-License-Identifier: MIT

// The formats that audio can be written in.
#pragma once

#include "host/writers/AudioWriter.h"

#include <memory>

namespace aiff::host
{

enum class AudioFormat { Wav, Flac };

// The output, which is open, and the tags must outlive the writer.
std::unique_ptr<AudioWriter> MakeAudioWriter(AudioFormat format, OutputFile& output,
                                             const CarriedTags& tags);

} // namespace aiff::host
