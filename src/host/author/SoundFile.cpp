// SPDX-License-Identifier: MIT
#include "host/author/SoundFile.h"

#include "host/author/AiffSource.h"
#include "host/author/SndfileSource.h"

namespace aiff::host
{

Problem SoundFileDamage(const std::string& path)
{
    if (AiffSource aiff; aiff.IsAiff(path) && !aiff.Open())
        return aiff.Damage();
    SndfileSource other;
    if (Problem problem = other.OpenAny(path))
        return problem;
    if (Problem problem = other.Damage())
        return problem;
    return other.HasLastFrame() ? Problem() : "cannot be read to its last sample frame";
}

AiffSound ReadAiffSound(const std::string& path)
{
    AiffSource source;
    if (!source.IsAiff(path) || source.Open())
        return {};
    return {source.SampleOffset(), source.Damage(), source.LeftOut()};
}

} // namespace aiff::host
