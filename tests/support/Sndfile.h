// SPDX-License-Identifier: MIT

// The samples of a file as an independent reader delivers them.
#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <sndfile.h>
#include <string>
#include <vector>

struct Samples {
    int format = 0;   // as libsndfile says
    int channels = 0; // 0: the file cannot be opened
    int rate = 0;
    std::vector<int32_t> values; // of the full range of 32 bits

    bool operator==(const Samples&) const = default;
};

inline Samples ReadSamples(const std::string& path)
{
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file(sf_open(path.c_str(), SFM_READ, &info),
                                                           sf_close);
    Samples samples{info.format, info.channels, info.samplerate, {}};
    if (file == nullptr)
        return {};
    samples.values.resize(static_cast<size_t>(info.frames * info.channels));
    EXPECT_EQ(sf_readf_int(file.get(), samples.values.data(), info.frames), info.frames) << path;
    return samples;
}
