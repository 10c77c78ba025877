// Decoding: every format against libsndfile, blocks, ranges, seeking, ends.

#include "support/ChunkWalker.h"
#include "support/Faults.h"
#include "support/PluginDriver.h"

#include <algorithm>
#include <limits>
#include <sndfile.h>

namespace
{

using DecodeTest = PluginTest;

constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();

struct Audio {
    int channels = 0;
    int rate = 0;
    std::vector<int32_t> samples; // the most significant bits are used
};

Audio ReadWithSndfile(const std::string& path)
{
    SF_INFO info = {};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr)
        throw std::runtime_error(sf_strerror(nullptr));
    Audio audio{info.channels, info.samplerate, {}};
    audio.samples.resize(static_cast<size_t>(info.frames * info.channels));
    audio.samples.resize(static_cast<size_t>(
        sf_read_int(file, audio.samples.data(), sf_count_t(audio.samples.size()))));
    sf_close(file);
    return audio;
}

// Host-order PCM in the form of Audio::samples.
std::vector<int32_t> Widened(const Bytes& pcm, int bits)
{
    const size_t width = static_cast<size_t>(bits) / 8;
    std::vector<int32_t> samples;
    for (size_t i = 0; i + width <= pcm.size(); i += width) {
        uint32_t value = 0;
        for (size_t k = 0; k < width; ++k)
            value |= uint32_t{pcm[i + k]} << (8 * (4 - width + k));
        samples.push_back(static_cast<int32_t>(bits == 8 ? value ^ 0x80000000 : value));
    }
    return samples;
}

class ReadsTest : public DecodeTest, public testing::WithParamInterface<bool>
{
protected:
    void SetUp() override { Faults::shortReads = GetParam(); }
    void TearDown() override { Faults::shortReads = false; }
};
INSTANTIATE_TEST_SUITE_P(WholeAndShort, ReadsTest, testing::Bool());

TEST_P(ReadsTest, EveryFormatEqualsLibsndfile)
{
    for (const char* type : {"", "NONE", "sowt"})
        for (const int bits : {8, 16, 24, 32})
            for (const int channels : {1, 2, 3, 6, 13}) {
                SCOPED_TRACE(std::string(type) + " " + std::to_string(bits) + " bits, " +
                             std::to_string(channels) + " channels");
                const int align = channels * bits / 8;
                const Bytes sound = Noise(static_cast<size_t>(align) * (150000u / unsigned(align)));
                const std::string path = dir.Write(
                    "a.aiff", AiffBuilder().Comm(channels, bits, 22050, type).Ssnd(sound).Build());
                Instance host(plugin);
                ASSERT_EQ(host.Open(path, 1), 1);
                const long readsBefore = Faults::reads;
                const Bytes pcm = host.Rest();
                EXPECT_GT(Faults::reads, readsBefore + (GetParam() ? 50 : 0));
                const Audio audio = ReadWithSndfile(path);
                const STQvWaveFormat format = host.open.AudioInfo.WaveFormat;
                EXPECT_EQ(+format.nChannels, audio.channels);
                EXPECT_EQ(+format.nSamplesPerSec, static_cast<uint32_t>(audio.rate));
                EXPECT_EQ(+format.nBitsPerSample, bits);
                if (bits == 8 && type == std::string("sowt"))
                    EXPECT_EQ(pcm, sound); // handed out as it is, signed
                else
                    EXPECT_EQ(Widened(pcm, bits), audio.samples);
            }
}

TEST_F(DecodeTest, BlocksAreWholeFramesUpTo64KiB)
{
    struct Row {
        int channels, bits;
        uint32_t align, block;
    };
    for (const Row& row :
         {Row{1, 8, 1, 65536}, Row{2, 16, 4, 65536}, Row{2, 24, 6, 65532}, Row{3, 16, 6, 65532},
          Row{5, 32, 20, 65520}, Row{1, 12, 1, 65536}, Row{2, 12, 3, 65535}, Row{7, 20, 17, 65535},
          Row{9000, 32, 36000, 36000}, Row{0, 16, 1, 65536}, Row{1, 4, 1, 65536}}) {
        SCOPED_TRACE(std::to_string(row.channels) + " x " + std::to_string(row.bits));
        const Bytes sound = Noise(200001 / row.align * row.align);
        const Bytes file = AiffBuilder().Comm(row.channels, row.bits, 8000).Ssnd(sound).Build();
        Instance host(plugin);
        ASSERT_EQ(host.Open(dir.Write("a.aiff", file), 1), 1);
        EXPECT_EQ(+host.open.AudioInfo.WaveFormat.nBlockAlign, row.align);
        const int64_t perSecond = int64_t{row.align} * 8000;
        Bytes all;
        do {
            ASSERT_EQ(host.Next(), 1);
            EXPECT_EQ(+host.block.nPositionMS, static_cast<int64_t>(all.size()) * 1000 / perSecond);
            EXPECT_EQ(+host.block.nDurationMS, int64_t{host.block.nDataSize} * 1000 / perSecond);
            EXPECT_EQ(+host.block.nDataSize,
                      std::min<size_t>(row.block, sound.size() - all.size()));
            Append(all, host.Data());
            EXPECT_EQ(+host.block.nLastBlock, all.size() == sound.size() ? 1 : 0);
        } while (all.size() < sound.size() && !host.Data().empty());
        EXPECT_EQ(all, row.bits % 8 == 0 ? HostOrder(sound, row.bits) : sound);
        for (int i = 0; i < 2; ++i) { // at the end nothing but the flag and the place is set
            ASSERT_EQ(host.Next(), 1);
            EXPECT_FALSE(host.HasData());
            EXPECT_EQ(+host.block.nDataSize, 0xA5A5A5A5u);
            EXPECT_EQ(+host.block.nLastBlock, 1);
        }
    }
}

// Frames of 4 bytes; ranges and seeks compared with slices of the whole.
TEST_F(DecodeTest, RangesAndSeeks)
{
    constexpr int64_t kFrames = 1000;
    const Bytes sound = Noise(kFrames * 4);
    const Bytes pcm = HostOrder(sound, 16);
    const std::string path =
        dir.Write("a.aiff", AiffBuilder().Comm(2, 16, 1000).Ssnd(sound).Build());
    const auto slice = [&](int64_t from, int64_t to) {
        return Bytes(pcm.begin() + from * 4, pcm.begin() + std::max(from, to) * 4);
    };
    const std::pair<int64_t, int64_t> ranges[] = {
        {0, -1},           {0, 1000},   {10, 20},     {10, -1},       {0, 0},
        {20, 10},          {-5, 10},    {0, 5000},    {2000, -1},     {2000, 5000},
        {1000, 1000},      {999, 1000}, {0, -2},      {kMin, kMax},   {kMax, kMax},
        {kMax, -1},        {kMin, -1},  {kMin, kMin}, {kMax / 4, -1}, {5, kMax / 4 + 1},
        {kMin / 4 - 1, 20}};
    for (const auto& [start, end] : ranges) {
        SCOPED_TRACE(std::to_string(start) + " to " + std::to_string(end));
        const int64_t from = std::clamp<int64_t>(start, 0, kFrames);
        const int64_t to = end == -1 ? kFrames : std::clamp<int64_t>(end, 0, kFrames);
        Instance host(plugin);
        EXPECT_EQ(host.Range(start, end), 1);
        ASSERT_EQ(host.Open(path, 1), 1);
        EXPECT_EQ(host.Range(0, 1), 1); // of the next Open
        EXPECT_EQ(+host.open.AudioInfo.nLengthBytes, std::max<int64_t>(to - from, 0) * 4);
        EXPECT_EQ(+host.open.AudioInfo.nLengthMS, std::max<int64_t>(to - from, 0));
        EXPECT_EQ(host.Rest(), slice(from, to));
        for (const int64_t frame : {int64_t{0}, int64_t{1}, int64_t{7}, to - from - 1, to - from,
                                    to - from + 1, int64_t{999}, kMax / 4, kMax, int64_t{-1}}) {
            if (frame < -from)
                continue;
            const int64_t place = from + std::min(frame, to - from);
            ASSERT_EQ(host.Seek(frame), 1) << frame;
            EXPECT_EQ(host.Rest(), slice(place, to)) << frame;
            ASSERT_EQ(host.Seek(frame), 1) << frame;
            ASSERT_EQ(host.Next(), 1);
            EXPECT_EQ(+host.block.nPositionMS, place - from) << frame;
        }
    }
}

TEST_F(DecodeTest, EverySeekPosition)
{
    const Bytes sound = Noise(6 * 211);
    const Bytes pcm = HostOrder(sound, 24);
    Instance host(plugin);
    host.Range(11, 200);
    ASSERT_EQ(
        host.Open(dir.Write("a.aiff", AiffBuilder().Comm(2, 24, 8000).Ssnd(sound).Build()), 1), 1);
    for (int64_t frame = -11; frame <= 212; ++frame) {
        ASSERT_EQ(host.Seek(frame), 1);
        const auto from = pcm.begin() + std::min<int64_t>(11 + frame, 200) * 6;
        EXPECT_EQ(host.Rest(), Bytes(from, pcm.begin() + 200 * 6)) << frame;
    }
}

TEST_F(DecodeTest, SeekBeforeTheFileFailsAndMovesNothing)
{
    const Bytes sound = Noise(8000);
    Instance host(plugin, &report);
    ASSERT_EQ(
        host.Open(dir.Write("a.aiff", AiffBuilder().Comm(2, 16, 8000).Ssnd(sound).Build()), 1), 1);
    // 54 bytes stand before the sound: 13 frames back is still inside the file.
    EXPECT_EQ(host.Seek(-13), 1);
    EXPECT_EQ(host.Next(), 1);
    EXPECT_EQ(+host.block.nDataSize, 8000u + 52);
    EXPECT_EQ(host.Seek(100), 1);
    for (const int64_t frame : {int64_t{-14}, int64_t{-1000000}, kMin / 4, kMin})
        EXPECT_EQ(host.Seek(frame), 0) << frame;
    EXPECT_EQ(report.Take(kError).find("Error SetPosition returned false.  [SetPosition]\r\n"), 0u);
    EXPECT_EQ(host.Rest(), HostOrder(Bytes(sound.begin() + 400, sound.end()), 16));
}

TEST_F(DecodeTest, PartialFrameAtTheEnd)
{
    // To the end of the audio: whole frames only.
    const Bytes sound = Noise(65536 + 2);
    const std::string path =
        dir.Write("a.aiff", AiffBuilder().Comm(2, 16, 8000).Ssnd(sound).Build());
    const Bytes whole = HostOrder(Bytes(sound.begin(), sound.end() - 2), 16);
    Instance host(plugin);
    ASSERT_EQ(host.Open(path, 1), 1);
    EXPECT_EQ(host.Rest(), whole);
    // An end behind the data: the torso is dropped, and the last block comes once more
    // with its bytes swapped back.
    host.Range(0, 1000000);
    ASSERT_EQ(host.Open(path, 1), 1);
    EXPECT_EQ(+host.open.AudioInfo.nLengthBytes, 65538);
    ASSERT_EQ(host.Next(), 1);
    EXPECT_EQ(host.Data(), whole);
    EXPECT_EQ(+host.block.nLastBlock, 0);
    ASSERT_EQ(host.Next(), 1);
    EXPECT_EQ(host.Data(), HostOrder(whole, 16));
    EXPECT_EQ(+host.block.nLastBlock, 1);
    ASSERT_EQ(host.Next(), 1);
    EXPECT_FALSE(host.HasData());
    // Behind whole frames of the same block it is handed out.
    ASSERT_EQ(host.Seek(16000), 1);
    ASSERT_EQ(host.Next(), 1);
    EXPECT_EQ(host.Data(), HostOrder(Bytes(sound.begin() + 64000, sound.end()), 16));
}

TEST_F(DecodeTest, SoundChunkShorterThanItsPrefixIsEmpty)
{
    for (const size_t size : {0u, 1u, 7u, 8u, 11u}) {
        Instance host(plugin);
        const Bytes file = AiffBuilder().Comm(2, 16, 8000).Chunk("SSND", Bytes(size)).Build();
        ASSERT_EQ(host.Open(dir.Write("a.aiff", file), 1 + 16), 1) << size;
        EXPECT_EQ(+host.open.AudioInfo.nLengthBytes, 0);
        EXPECT_EQ(host.Rest(), Bytes()) << size;
        EXPECT_EQ(host.Seek(5), 1);
        EXPECT_EQ(host.Rest(), Bytes()) << size;
    }
}

// One instance serves one file: the format and the place of the sound stay.
TEST_F(DecodeTest, ReopenedInstanceKeepsTheFirstFormat)
{
    const Bytes first = Noise(400, 1);
    const Bytes second = Noise(400, 2);
    const std::string a = dir.Write("a.aiff", AiffBuilder().Comm(2, 16, 8000).Ssnd(first).Build());
    const std::string b = dir.Write("b.aiff", AiffBuilder().Comm(1, 8, 44100).Ssnd(second).Build());
    Instance host(plugin);
    for (const bool closing : {true, false}) {
        ASSERT_EQ(host.Open(a, 1), 1);
        EXPECT_EQ(host.Rest(), HostOrder(first, 16));
        if (closing)
            host.Close();
        ASSERT_EQ(host.Open(b, 1), 1);
        EXPECT_EQ(+host.open.AudioInfo.WaveFormat.nBitsPerSample, 16);
        EXPECT_EQ(host.Rest(), HostOrder(second, 16));
        EXPECT_EQ(host.Close(), 1);
        EXPECT_EQ(host.Close(), 1);
        EXPECT_EQ(host.Seek(0), 0);
    }
}

TEST_F(DecodeTest, FileCutWhileItIsDecodedResumesWhenItIsWhole)
{
    const Bytes sound = Noise(200000);
    const Bytes pcm = HostOrder(sound, 16);
    const Bytes file = AiffBuilder().Comm(2, 16, 8000).Ssnd(sound).Build();
    const std::string path = dir.Write("a.aiff", file);
    Instance host(plugin, &report);
    ASSERT_EQ(host.Open(path, 1), 1);
    ASSERT_EQ(host.Next(), 1);
    ASSERT_EQ(truncate(path.c_str(), 100000), 0);
    EXPECT_EQ(host.Next(), 0);
    EXPECT_EQ(host.Next(), 0);
    EXPECT_EQ(report.Take(kError), Lines("Error reading data from file.  [ReadDataBlock]\n"
                                         "Error reading data from file.  [ReadDataBlock]\n"));
    ASSERT_EQ(host.Seek(100), 1);
    ASSERT_EQ(host.Next(), 1);
    EXPECT_EQ(host.Data(), Bytes(pcm.begin() + 400, pcm.begin() + 400 + 65536));
    EXPECT_EQ(host.Next(), 0);
    std::fstream(path, std::ios::in | std::ios::out)
        .write(reinterpret_cast<const char*>(file.data()), std::streamsize(file.size()));
    EXPECT_EQ(host.Rest(), Bytes(pcm.begin() + 400 + 65536, pcm.end()));
}

TEST_F(DecodeTest, GeneratedFilesAreStrictAndEqualLibsndfile)
{
    ASSERT_EQ(std::system((MAKE_AIFF_PATH " --demo " + dir.Path("")).c_str()), 0);
    const std::string odd = MAKE_AIFF_PATH " " + dir.Path("odd.aifc");
    ASSERT_EQ(std::system(
                  (odd + " --type aifc --bits 24 --channels 1 --rate 8001 --seconds 2.5").c_str()),
              0);
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir.Path(""))) {
        const std::string path = entry.path().string();
        const WalkedForm form = WalkStrictly(ReadFile(path));
        EXPECT_EQ(form.type, entry.path().extension() == ".aifc" ? "AIFC" : "AIFF");
        Instance host(plugin, &report);
        ASSERT_EQ(host.Open(path, 1), 1) << path;
        const int bits = host.open.AudioInfo.WaveFormat.nBitsPerSample;
        const Bytes pcm = host.Rest();
        EXPECT_EQ(pcm.size() + 8, form.Only("SSND").data.size());
        EXPECT_EQ(Widened(pcm, bits), ReadWithSndfile(path).samples) << path;
        ++files;
    }
    EXPECT_EQ(files, 17);
    EXPECT_EQ(report.Take(kError) + report.Take(kInformation), "");
}

// --- Real files ---------------------------------------------------------------------

TEST_F(DecodeTest, RealFilesEqualLibsndfile)
{
    const char* folder = std::getenv("AIFF_CORPUS");
    const std::string corpus = folder != nullptr ? folder : AIFF_CORPUS_PATH;
    if (!std::filesystem::is_directory(corpus))
        GTEST_SKIP() << "no folder of real files; AIFF_CORPUS names one";
    const auto decode = [&](const std::string& name, int& bits) {
        Instance host(plugin);
        EXPECT_EQ(host.Open(corpus + "/" + name, 1 + 16), 1) << name;
        bits = host.open.AudioInfo.WaveFormat.nBitsPerSample;
        return host.Rest();
    };
    int bits = 0;
    for (const char* name :
         {"pluck-pcm8.aiff", "pluck-pcm16.aiff", "pluck-pcm24.aiff", "pluck-pcm32.aiff", "sowt.aif",
          "M1F1-int8-AFsp.aif", "padded24b.aif", "kick32b.aiff", "with-id3.aif", "noise_odd.aif"}) {
        const Bytes pcm = decode(name, bits);
        EXPECT_FALSE(pcm.empty());
        EXPECT_EQ(Widened(pcm, bits), ReadWithSndfile(corpus + "/" + name).samples) << name;
    }
    for (const std::string name : {"pluck-pcm24", "pluck-pcm32"}) {
        const Bytes wav = ReadFile(corpus + "/" + name + ".wav");
        const Bytes pcm = decode(name + ".aiff", bits);
        const auto sound = std::search(wav.begin(), wav.end(), pcm.begin(), pcm.end());
        ASSERT_NE(sound, wav.end()) << name;
        Bytes size = Big(pcm.size(), 4);
        std::reverse(size.begin(), size.end());
        EXPECT_EQ(Bytes(sound - 8, sound), Join({Text("data"), size})) << name;
    }
    for (const char* name : {"pluck-alaw.aifc", "Porder.aif", "Ptjunk.aif", "aifc_tagged.aif"}) {
        Instance other(plugin);
        EXPECT_EQ(other.Open(corpus + "/" + name, 4), 1) << name;
        EXPECT_EQ(other.Open(corpus + "/" + name, 1), 0) << name;
    }
    EXPECT_EQ(Instance(plugin).Open(corpus + "/segfault.aif", 1), 0);
}

} // namespace
