// SPDX-License-Identifier: MIT

// Damaged and hostile files.

#include "support/PluginDriver.h"

namespace
{

using RobustnessTest = PluginTest;

TEST_F(RobustnessTest, FileCutAtEveryLengthGivesWhatIsThere)
{
    const Bytes sound = Noise(120);
    AiffBuilder builder;
    builder.Comm(2, 24, 44100).Chunk("NAME", Text("odd")).Ssnd(sound).Chunk("ANNO", Bytes(20));
    const Bytes file = builder;
    const size_t prefix = 12 + 26 + 12 + 16; // before the samples
    for (size_t length = 0; length <= file.size(); ++length) {
        SCOPED_TRACE(length);
        Instance host(plugin);
        const bool isKnown = length >= prefix - 8;
        ASSERT_EQ(host.Open(File(Front(file, length)), 1 + 8 + 16), isKnown);
        if (!isKnown)
            continue;
        const size_t left = std::min(std::max(length, prefix) - prefix, sound.size());
        EXPECT_EQ(host.Rest(), HostOrder(Front(sound, left / 6 * 6), 24));
        EXPECT_EQ(host.Seek(50), 1);
        EXPECT_EQ(host.Rest(), Bytes());
    }
}

// Whatever the header says, calls come back, blocks are not empty and end.
TEST_F(RobustnessTest, HostileCommonChunks)
{
    const Bytes sound = Noise(70000);
    const Bytes rates[] = {Bytes(10),       Bytes(10, 0xFF), Bytes(10, 0x7F),       Extended(0.5),
                           Extended(1e300), Extended(44100), Extended(4294967296.0)};
    const uint64_t counts[] = {0, 1, 2, 255, 4096, 0x3FFF, 0x7FFF, 0x8000, 0xFFFF},
                   widths[] = {0, 1, 7, 8, 12, 16, 20, 24, 32, 33, 64, 0x7FFF, 0x8000, 0xFFFF};
    for (const uint64_t channels : counts)
        for (const uint64_t bits : widths)
            for (const Bytes& rate : rates) {
                SCOPED_TRACE(std::to_string(channels) + " x " + std::to_string(bits));
                const Bytes common = Join({Big(channels, 2), Big(0, 4), Big(bits, 2), rate});
                Instance host(plugin);
                host.Range(1, -1);
                ASSERT_EQ(host.Open(File(AiffBuilder().Chunk("COMM", common).Ssnd(sound)), 1 + 16),
                          1);
                EXPECT_GE(+host.open.AudioInfo.WaveFormat.nBlockAlign, 1);
                EXPECT_GE(+host.open.AudioInfo.WaveFormat.nAvgBytesPerSec, 1u);
                EXPECT_EQ(std::ssize(host.Rest()), +host.open.AudioInfo.nLengthBytes);
                EXPECT_EQ(host.Seek(0x7FFFFFFFFFFFFFFF), 1);
                EXPECT_EQ(host.Rest(), Bytes());
            }
}

} // namespace
