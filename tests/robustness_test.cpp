// Damaged and hostile files, and a system that runs out of memory.

#include "support/Faults.h"
#include "support/PluginDriver.h"

#include <fstream>

namespace
{

using RobustnessTest = PluginTest;

TEST_F(RobustnessTest, FileCutAtEveryLengthGivesWhatIsThere)
{
    const Bytes sound = Noise(120);
    const Bytes file = AiffBuilder()
                           .Comm(2, 24, 44100)
                           .Chunk("NAME", Text("odd"))
                           .Ssnd(sound)
                           .Chunk("ANNO", Bytes(20))
                           .Build();
    const size_t soundChunk = 12 + 26 + 12;
    for (size_t length = 0; length <= file.size(); ++length) {
        SCOPED_TRACE(length);
        Instance host(plugin);
        const Bytes cut(file.begin(), file.begin() + static_cast<ptrdiff_t>(length));
        const bool isKnown = length >= soundChunk + 8;
        ASSERT_EQ(host.Open(dir.Write("a.aiff", cut), 1 + 8 + 16), isKnown ? 1 : 0);
        if (!isKnown)
            continue;
        const size_t left = length < soundChunk + 16 ? 0 : length - soundChunk - 16;
        const size_t whole = std::min<size_t>(left, sound.size()) / 6 * 6;
        EXPECT_EQ(host.Rest(),
                  HostOrder(Bytes(sound.begin(), sound.begin() + ptrdiff_t(whole)), 24));
    }
}

// Whatever the header says, calls come back, blocks are not empty and end.
TEST_F(RobustnessTest, HostileCommonChunks)
{
    const Bytes sound = Noise(70000);
    const Bytes rates[] = {Extended(0),
                           Extended(0.5),
                           Extended(44100),
                           Extended(4294967296.0),
                           Extended(9.3e18),
                           Extended(1e300),
                           Bytes{0xC0, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0},
                           Bytes{0x7F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0, 0},
                           Bytes{0xFF, 0xFF, 0xC0, 0, 0, 0, 0, 0, 0, 1},
                           Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 1},
                           Bytes(10, 0xFF)};
    for (const int channels : {0, 1, 2, 255, 4096, 0x3FFF, 0x7FFF, 0x8000, 0xFFFF})
        for (const int bits : {0, 1, 7, 8, 12, 16, 20, 24, 32, 33, 64, 0x7FFF, 0x8000, 0xFFFF})
            for (const Bytes& rate : rates) {
                SCOPED_TRACE(std::to_string(channels) + " x " + std::to_string(bits));
                const Bytes file = AiffBuilder().Comm(channels, bits, rate).Ssnd(sound).Build();
                Instance host(plugin);
                host.Range(1, -1);
                ASSERT_EQ(host.Open(dir.Write("a.aiff", file), 1 + 16), 1);
                EXPECT_GE(+host.open.AudioInfo.WaveFormat.nBlockAlign, 1);
                EXPECT_GE(+host.open.AudioInfo.WaveFormat.nAvgBytesPerSec, 1u);
                const int64_t length = host.open.AudioInfo.nLengthBytes;
                EXPECT_EQ(static_cast<int64_t>(host.Rest().size()), length);
                EXPECT_EQ(host.Seek(0x7FFFFFFFFFFFFFFF), 1);
                EXPECT_EQ(host.Rest(), Bytes());
            }
}

TEST_F(RobustnessTest, SizesNearTheLimitsOf32Bits)
{
    const Bytes sound = Noise(100);
    for (const uint32_t form : {0u, 4u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu})
        for (const uint32_t size : {0u, 7u, 8u, 107u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
            SCOPED_TRACE(std::to_string(form) + ", " + std::to_string(size));
            const Bytes file =
                AiffBuilder().Comm(1, 8, 8000).Ssnd(sound, size).FormSize(form).Build();
            Instance host(plugin);
            const bool hasChunks = form > 4;
            ASSERT_EQ(host.Open(dir.Write("a.aiff", file), 1), hasChunks ? 1 : 0);
            if (!hasChunks)
                continue;
            const uint32_t left = form - 38; // behind the header of SSND
            const int64_t believed = size > left ? left : std::min(size, 108u);
            EXPECT_EQ(+host.open.AudioInfo.nLengthBytes, std::max<int64_t>(believed - 8, 0));
            if (believed > 108)
                EXPECT_EQ(host.Next(), 0);
            else
                EXPECT_EQ(host.Rest().size(), size_t(std::max<int64_t>(believed - 8, 0)));
        }
}

// Bytes read and calls made by this thread so far.
std::pair<long, long> ReadsOfThisThread()
{
    std::ifstream counters("/proc/thread-self/io");
    std::string name;
    long bytes = -1, skipped = 0, calls = -1;
    counters >> name >> bytes >> name >> skipped >> name >> calls;
    return {bytes, calls};
}

TEST_F(RobustnessTest, ManyTinyChunksCostLinearWork)
{
    constexpr size_t kChunks = 1000000;
    Bytes body = AiffBuilder().Comm(1, 8, 8000).Build();
    const Bytes tiny = Join({Text("tiny"), Big(0, 4)});
    for (size_t i = 0; i < kChunks; ++i)
        Append(body, tiny);
    Append(body, Join({Text("SSND"), Big(8, 4), Bytes(8)}));
    const Bytes size = Big(body.size() - 8, 4);
    std::copy(size.begin(), size.end(), body.begin() + 4);
    const std::string path = dir.Write("a.aiff", body);
    if (ReadsOfThisThread().first < 0)
        GTEST_SKIP() << "this system does not count reads";
    Instance host(plugin);
    const auto before = ReadsOfThisThread();
    ASSERT_EQ(host.Open(path, 1), 1);
    const auto after = ReadsOfThisThread();
    EXPECT_LT(after.first - before.first, static_cast<long>(2 * body.size()));
    EXPECT_LT(after.second - before.second, static_cast<long>(body.size() / 16384));
    EXPECT_EQ(host.Rest(), Bytes());
}

TEST_F(RobustnessTest, OpeningDoesNotReadTheSound)
{
    const std::string path =
        dir.Write("a.aiff", AiffBuilder().Comm(1, 8, 8000).Ssnd(Bytes(5000000)).Build());
    if (ReadsOfThisThread().first < 0)
        GTEST_SKIP() << "this system does not count reads";
    Instance host(plugin);
    const auto before = ReadsOfThisThread();
    ASSERT_EQ(host.Open(path, 1 + 16), 1);
    EXPECT_LT(ReadsOfThisThread().first - before.first, 70000);
}

// Each allocation of a whole session fails once: no call lets it out, and the
// instance can be closed and destroyed.
TEST_F(RobustnessTest, FailedAllocationsStayInside)
{
    if (!Faults::canFailAllocations)
        GTEST_SKIP() << "allocations cannot be made to fail in this build";
    const Bytes sound = Noise(70000);
    const std::wstring path = Wide(dir.Write(
        "a.aiff", AiffBuilder().Comm(2, 16, 8000, "sowt").Ssnd(sound).Chunk("NAME", {}).Build()));
    const STNStdReport record = report.Record();
    bool isReached = true;
    long failing = 1;
    for (; isReached; ++failing) {
        STQvOpenDecoder open = {};
        STQvAudioBlock block = {};
        STQvCodecGetSet getSet = {};
        open.pFileName = path.c_str();
        open.nFlags = 1 + 4 + 8 + 16;
        Faults::failAllocation = failing;
        void* handle = plugin.Create(&record);
        plugin.Get(handle, L"StreamingDecodes", &getSet);
        const int32_t opened = plugin.Open(handle, &open);
        const int32_t decoded = opened == 1 ? plugin.DecodeBlock(handle, &block) : 0;
        plugin.DeleteATag(handle, L"/nonexistent/a.aiff", L"Title\0Artist\0");
        plugin.Close(handle, nullptr);
        isReached = Faults::failAllocation == 0;
        Faults::failAllocation = 0;
        if (decoded == 1)
            EXPECT_EQ(std::memcmp(block.pData, sound.data(), 65536), 0);
        if (!isReached)
            EXPECT_EQ(decoded, 1);
        plugin.Destroy(handle);
    }
    EXPECT_GT(failing, 10);
}

} // namespace
