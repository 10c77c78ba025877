// SPDX-License-Identifier: MIT
#include "host/author/OpenSource.h"

#include "host/author/AiffSource.h"
#include "host/author/SndfileSource.h"

namespace aiff::host
{

Result<std::unique_ptr<SoundSource>> OpenSource(const std::string& path, Samples samples)
{
    std::unique_ptr<SoundSource> source;
    Problem problem;
    if (auto aiff = std::make_unique<AiffSource>(); aiff->IsAiff(path)) {
        problem = aiff->Open();
        source = std::move(aiff);
    } else {
        auto other = std::make_unique<SndfileSource>();
        problem = other->Open(path, samples);
        source = std::move(other);
    }
    if (problem)
        return problem;
    return source;
}

} // namespace aiff::host
