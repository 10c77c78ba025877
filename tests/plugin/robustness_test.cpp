// SPDX-License-Identifier: MIT

// Damaged and hostile files, and a system that runs out of memory.

#include "support/PluginDriver.h"
#include "support/SystemCalls.h"

#include <sys/resource.h>

namespace
{

using RobustnessTest = PluginTest;

TEST_F(RobustnessTest, FileCutAtEveryLengthGivesWhatIsThere)
{
    const Bytes sound = Noise(120);
    AiffBuilder builder;
    builder.Comm(2, 24, 44100).Chunk("NAME", Text("odd")).Ssnd(sound).Chunk("ANNO", Bytes(20));
    const Bytes file = builder;
    const size_t soundChunk = 12 + 26 + 12;
    for (size_t length = 0; length <= file.size(); ++length) {
        SCOPED_TRACE(length);
        Instance host(plugin);
        const Bytes cut(file.begin(), file.begin() + static_cast<ptrdiff_t>(length));
        const bool isKnown = length >= soundChunk + 8;
        ASSERT_EQ(host.Open(File(cut), 1 + 8 + 16), isKnown ? 1 : 0);
        if (!isKnown)
            continue;
        const size_t left = length < soundChunk + 16 ? 0 : length - soundChunk - 16;
        Bytes whole = sound;
        whole.resize(std::min(left, sound.size()) / 6 * 6);
        EXPECT_EQ(host.Rest(), HostOrder(whole, 24));
    }
}

// Whatever the header says, calls come back, blocks are not empty and end.
TEST_F(RobustnessTest, HostileCommonChunks)
{
    const Bytes sound = Noise(70000);
    std::vector<Bytes> rates = {Bytes(10), Bytes(10, 0xFF), Bytes(10, 0x7F)};
    for (const double rate : {0.5, 44100.0, 4294967296.0, 1e300})
        rates.push_back(Extended(rate));
    for (const int channels : {0, 1, 2, 255, 4096, 0x3FFF, 0x7FFF, 0x8000, 0xFFFF})
        for (const int bits : {0, 1, 7, 8, 12, 16, 20, 24, 32, 33, 64, 0x7FFF, 0x8000, 0xFFFF})
            for (const Bytes& rate : rates) {
                SCOPED_TRACE(std::to_string(channels) + " x " + std::to_string(bits));
                const AiffBuilder file = AiffBuilder().Comm(channels, bits, rate).Ssnd(sound);
                Instance host(plugin);
                host.Range(1, -1);
                ASSERT_EQ(host.Open(File(file), 1 + 16), 1);
                EXPECT_GE(+host.open.AudioInfo.WaveFormat.nBlockAlign, 1);
                EXPECT_GE(+host.open.AudioInfo.WaveFormat.nAvgBytesPerSec, 1u);
                EXPECT_EQ(std::ssize(host.Rest()), +host.open.AudioInfo.nLengthBytes);
                EXPECT_EQ(host.Seek(0x7FFFFFFFFFFFFFFF), 1);
                EXPECT_EQ(host.Rest(), Bytes());
            }
}

// Opens a file while the process gets no more than so many bytes.
int OpenWithin(rlim_t bytes, Instance& host, const std::string& path, uint32_t flags)
{
    rlim_t pages = RLIM_INFINITY / 8192;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit before = {};
    getrlimit(RLIMIT_AS, &before);
    const rlimit tight = {pages * 4096 + bytes, before.rlim_max};
    if (SystemCalls::canFailAllocations) // else a sanitizer has terabytes
        setrlimit(RLIMIT_AS, &tight);
    const int result = host.Open(path, flags);
    setrlimit(RLIMIT_AS, &before);
    return result;
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
    for (const rlim_t room : {3u << 20, 30u << 20}) {
        EXPECT_EQ(OpenWithin(room, host, path, 1 + 8), 1);
        EXPECT_EQ(+host.open.nTagDataSize, room < 4u << 20 ? 4u : 62u + 26 * (1 << 18));
        EXPECT_EQ(report.Take(kError).empty(), room > 4u << 20);
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
    SystemCalls::Start();
    EXPECT_EQ(OpenWithin(50 << 20, host, path, 1 + 16), 1);
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
        STQvCodecGetSet getSet = {};
        SystemCalls::Start(SystemCalls::Fault::NoMemory, failing);
        Instance host(plugin, report);
        plugin.Get(host.handle, L"StreamingDecodes", &getSet);
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
