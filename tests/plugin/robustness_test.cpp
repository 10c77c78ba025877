// SPDX-License-Identifier: MIT

// Damaged and hostile files, and a system that runs out of memory.

#include "support/PluginDriver.h"
#include "support/SystemCalls.h"

namespace
{

using RobustnessTest = PluginTest;
using SystemCalls::Fault;

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

TEST_F(RobustnessTest, TagsThatMemoryDoesNotHoldLeaveTheSound)
{
    if (!SystemCalls::canFailAllocations)
        GTEST_SKIP() << "allocations cannot be made to fail in this build";
    using std::operator""s;
    Bytes tag = Text("ID3\3\0\0\0\x20\0\xBTCON\0\x8\0\1\0\0\0"s);
    for (int i = 0; i < 1 << 18; ++i)
        Append(tag, {'1', ';'}); // "Classic Rock"
    const std::string path = File(AiffBuilder().Comm(1, 8, 8000).Ssnd(Noise(9)).Chunk("ID3 ", tag));
    Instance host(plugin, {report.Record().hError, nullptr, nullptr});
    for (const long room : {3 << 20, 30 << 20}) {
        SystemCalls::Start(Fault::LittleMemory, room);
        EXPECT_EQ(host.Open(path, 1 + 8), 1);
        const bool isShort = SystemCalls::Stop().struck;
        EXPECT_EQ(isShort, room < 4 << 20);
        EXPECT_EQ(+host.open.nTagDataSize, isShort ? 4u : 62u + 26 * (1 << 18));
        EXPECT_EQ(report.Take(kError).empty(), !isShort);
    }
    EXPECT_EQ(host.Rest(), HostOrder(Noise(9), 8));
}

// Also: the memory for the list is bounded, and nothing but headers is read.
TEST_F(RobustnessTest, ListOfAMillionChunksEndsTheIndex)
{
    const Bytes sound = Noise(5000000);
    constexpr uint32_t kSize = 4000000000;
    const std::string path = File(AiffBuilder().Comm(1, 8, 8000).Ssnd(sound).FormSize(kSize - 8));
    if (truncate(path.c_str(), kSize) != 0) // eight zeros are a chunk
        GTEST_SKIP() << "no sparse files here";
    Instance host(plugin, {report.Record().hError, nullptr, nullptr});
    SystemCalls::Start(Fault::LittleMemory, 70 << 20);
    EXPECT_EQ(host.Open(path, 1 + 16), 1);
    const SystemCalls::Counts cost = SystemCalls::Stop();
    EXPECT_TRUE(cost.reads < 500 && cost.readBytes < 9000000);
    EXPECT_EQ(report.Take(kError),
              Lines("Error too many chunks, only the first 1048576 are listed.  [ScanFile]\n"));
    EXPECT_EQ(host.Rest(), HostOrder(sound, 8));
    EXPECT_NE(Properties(host).find("'' 0 bytes,  and 1047576 more\n"), std::string::npos);
    EXPECT_EQ(plugin.DeleteATag(host.handle, Wide(path).c_str(), nullptr), 0);
    EXPECT_NE(report.Take(kError).find("Error the file is left as it is"), std::string::npos);
}

// Each allocation of a whole session fails once: no call lets it out, and the
// instance can be closed and destroyed.
TEST_F(RobustnessTest, FailedAllocationsStayInside)
{
    if (!SystemCalls::canFailAllocations)
        GTEST_SKIP() << "allocations cannot be made to fail in this build";
    const Bytes sound = Noise(70000);
    const std::wstring path =
        Wide(File(AiffBuilder().Comm(2, 16, 8000, "sowt").Ssnd(sound).Chunk("NAME", {})));
    bool isReached = true;
    long failing = 1;
    for (; isReached; ++failing) {
        SystemCalls::Start(Fault::NoMemory, failing);
        Instance host(plugin, report);
        host.Get(L"StreamingDecodes");
        const bool isDecoded = host.Open(path.c_str(), 1 + 4 + 8 + 16) == 1 && host.Next() == 1;
        plugin.DeleteATag(host.handle, L"/nonexistent/a.aiff", L"Title\0Artist\0");
        host.Close();
        isReached = SystemCalls::Stop().struck;
        if (isDecoded)
            EXPECT_EQ(std::memcmp(host.block.pData, sound.data(), 65536), 0);
        EXPECT_TRUE(isReached || isDecoded);
    }
    EXPECT_GT(failing, 10);
}

} // namespace
