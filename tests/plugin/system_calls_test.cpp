// SPDX-License-Identifier: MIT

// Reads that end early, and a system that runs out of memory.

#include "support/PluginDriver.h"
#include "support/SystemCalls.h"

namespace
{

using SystemCallsTest = PluginTest;
using SystemCalls::Fault;

TEST_F(SystemCallsTest, ReadsThatEndEarlyChangeNothing)
{
    for (const int bits : {8, 16, 24, 32}) {
        const Bytes sound = Noise(static_cast<size_t>(150000 / (13 * bits / 8) * (13 * bits / 8)));
        const std::string path = File(AiffBuilder().Comm(13, bits, 22050).Ssnd(sound));
        SystemCalls::Start(Fault::ShortReads);
        Instance host(plugin);
        EXPECT_EQ(host.Open(path, 1 + 8 + 16), 1);
        const Bytes pcm = host.Rest();
        EXPECT_GT(SystemCalls::Stop().reads, 50);
        EXPECT_EQ(pcm, HostOrder(sound, bits));
    }
}

TEST_F(SystemCallsTest, TagsThatMemoryDoesNotHoldLeaveTheSound)
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
TEST_F(SystemCallsTest, ListOfAMillionChunksEndsTheIndex)
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
TEST_F(SystemCallsTest, FailedAllocationsStayInside)
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
