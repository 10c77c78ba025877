// SPDX-License-Identifier: MIT
#include "host/writers/MakeAudioWriter.h"

#include "host/writers/FlacWriter.h"
#include "host/writers/WavWriter.h"

namespace aiff::host
{

std::unique_ptr<AudioWriter> MakeAudioWriter(AudioFormat format, OutputFile& output,
                                             const CarriedTags& tags)
{
    if (format == AudioFormat::Flac)
        return std::make_unique<FlacWriter>(output, tags);
    return std::make_unique<WavWriter>(output, tags);
}

} // namespace aiff::host
