// SPDX-License-Identifier: MIT

// A stream for the plug-in, and what is to be heard of it.
#pragma once

#include "ScriptServer.h"
#include "support/PluginDriver.h"

constexpr uint32_t kDecode = QV_OPEN_PREPARE_DECODE | QV_OPEN_AUDIO_INFO;

// Stereo of 16 bits whose stream has two whole blocks and a part of a third.
inline const Bytes kSamples = Noise(150000);
inline const Bytes kFile = AiffBuilder().Comm(2, 16, 44100).Ssnd(kSamples).Build();

// What a stream gives: the 8 bytes before the samples come as samples, too.
inline Bytes Heard(const Bytes& samples, int bits = 16)
{
    return HostOrder(Join({Bytes(8), samples}), bits);
}
inline const Bytes kHeard = Heard(kSamples);
constexpr size_t kFrames = 37502;

class StreamTest : public PluginTest
{
protected:
    ScriptServer server;
};
