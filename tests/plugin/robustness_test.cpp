// Damaged and hostile files, and a system that runs out of memory.

#include "support/PluginDriver.h"
#include "support/SystemCalls.h"

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

TEST_F(RobustnessTest, OpeningReadsHeadersOnly)
{
    Bytes chunks;
    for (int i = 0; i < 1000000; ++i)
        Append(chunks, {'t', 'i', 'n', 'y', 0, 0, 0, 0});
    const std::string many = File(AiffBuilder().Chunk("tiny", {}).Tail(chunks).FormSize(8000012));
    const std::string large = dir.Write("b.aiff", AiffBuilder().Ssnd(Bytes(5000000)));
    const auto cost = [&](const std::string& path) {
        Instance host(plugin);
        SystemCalls::Start();
        EXPECT_EQ(host.Open(path, 0), 1);
        return SystemCalls::Stop();
    };
    EXPECT_LT(cost(many).reads, 500);
    EXPECT_LT(cost(many).readBytes, 9000000);
    EXPECT_GT(cost(many).readBytes, 8000000);
    EXPECT_LT(cost(large).readBytes, 70000);
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
    const STNStdReport record = report.Record();
    bool isReached = true;
    long failing = 1;
    for (; isReached; ++failing) {
        STQvOpenDecoder open = {};
        open.pFileName = path.c_str();
        open.nFlags = 1 + 4 + 8 + 16;
        STQvAudioBlock block = {};
        STQvCodecGetSet getSet = {};
        SystemCalls::Start(SystemCalls::Fault::NoMemory, failing);
        void* handle = plugin.Create(&record);
        plugin.Get(handle, L"StreamingDecodes", &getSet);
        const int32_t opened = plugin.Open(handle, &open);
        const int32_t decoded = opened == 1 ? plugin.DecodeBlock(handle, &block) : 0;
        plugin.DeleteATag(handle, L"/nonexistent/a.aiff", L"Title\0Artist\0");
        plugin.Close(handle, nullptr);
        isReached = SystemCalls::Stop().struck;
        if (decoded == 1)
            EXPECT_EQ(std::memcmp(block.pData, sound.data(), 65536), 0);
        EXPECT_TRUE(isReached || decoded == 1);
        plugin.Destroy(handle);
    }
    EXPECT_GT(failing, 10);
}

} // namespace
