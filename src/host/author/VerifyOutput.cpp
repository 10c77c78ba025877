// SPDX-License-Identifier: MIT
#include "host/author/VerifyOutput.h"

#include "host/author/SoundSum.h"

namespace aiff::host
{
namespace
{

bool IsSameFormat(const STQvWaveFormat& a, const STQvWaveFormat& b)
{
    return a.nChannels == b.nChannels && a.nSamplesPerSec == b.nSamplesPerSec &&
           a.nBitsPerSample == b.nBitsPerSample;
}

} // namespace

Problem VerifyOutput(OutputFile& output, const STQvWaveFormat& format, const std::string& sum)
{
    const Result<std::string> path = output.ReadablePath();
    if (!path)
        return path.Why();
    const FileSum read = SumOfFile(*path, SampleWidth::Bytes);
    if (!read.problem && read.hex == sum && IsSameFormat(read.format, format))
        return {};
    const std::string reason = read.problem ? " (it " + read.problem.Text() + ")" : "";
    return Problem("does not hold the sound that was written to it" + reason +
                   "; it is not kept (try again, or check the disk)")
        .About(output.Name());
}

} // namespace aiff::host
