// SPDX-License-Identifier: MIT

// Decoding: every format against libsndfile, blocks, ranges, seeking, ends.

#include "support/PluginDriver.h"
#include "support/Sndfile.h"

#include <limits>

namespace
{

using DecodeTest = PluginTest;

constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();

Bytes Part(const Bytes& bytes, int64_t from, int64_t to)
{
    return {bytes.begin() + from, bytes.begin() + std::max(from, to)};
}

// The samples of a file in the order of a host, as libsndfile reads them.
Bytes ReadWithSndfile(const std::string& path)
{
    const Samples samples = ReadSamples(path);
    EXPECT_GT(samples.channels, 0) << path;
    const int width = samples.format & SF_FORMAT_SUBMASK; // PCM of 1 to 4 bytes
    Bytes pcm;
    for (const int32_t sample : samples.values)
        for (int k = 4 - width; k < 4; ++k)
            pcm.push_back(
                static_cast<uint8_t>((width == 1 ? sample ^ INT32_MIN : sample) >> 8 * k));
    return pcm;
}

// Decodes a whole file, which must open without a complaint.
Bytes ReadWithPlugin(const Plugin& plugin, const std::string& path)
{
    return Instance(plugin, path, 1 + 8 + 16).Rest();
}

TEST_F(DecodeTest, EveryFormatEqualsLibsndfile)
{
    for (const std::string type : {"", "NONE", "sowt"})
        for (const int bits : {8, 16, 24, 32})
            for (const int channels : {1, 2, 3, 6, 13}) {
                SCOPED_TRACE(type + " " + std::to_string(bits) + " x " + std::to_string(channels));
                const int align = channels * bits / 8;
                const Bytes sound = Noise(static_cast<size_t>(150000 / align * align));
                const std::string path =
                    File(AiffBuilder().Comm(channels, bits, 22050, type).Ssnd(sound));
                // Signed bytes are handed out as they are.
                const Bytes expected = bits == 8 && type == "sowt" ? sound : ReadWithSndfile(path);
                EXPECT_EQ(ReadWithPlugin(plugin, path), expected);
            }
}

TEST_F(DecodeTest, BlocksAreWholeFramesUpTo64KiB)
{
    const std::tuple<int, int, int64_t, int64_t> rows[] = {
        {1, 8, 1, 65536},   {2, 16, 4, 65536}, {2, 24, 6, 65532},
        {5, 32, 20, 65520}, {1, 12, 1, 65536}, {2, 12, 3, 65535},
        {7, 20, 17, 65535}, {0, 16, 1, 65536}, {9000, 32, 36000, 36000}};
    for (const auto& [channels, bits, align, wholeBlock] : rows) {
        SCOPED_TRACE(std::to_string(channels) + " x " + std::to_string(bits));
        // Frames without a byte take one byte of the file, and no time's worth of it.
        const int64_t size = 200001 / align * align, perSecond = channels == 0 ? 1 : align * 8000;
        const Bytes sound = Noise(static_cast<size_t>(size));
        Instance host(plugin, File(AiffBuilder().Comm(channels, bits, 8000).Ssnd(sound)), 1);
        EXPECT_EQ(+host.open.AudioInfo.WaveFormat.nBlockAlign, align);
        Bytes all;
        for (int64_t done = 0; done < size; done = std::ssize(all)) {
            ASSERT_EQ(host.Next(), 1);
            EXPECT_EQ(+host.block.nDataSize, std::min(wholeBlock, size - done));
            EXPECT_EQ(+host.block.nPositionMS, done * 1000 / perSecond);
            EXPECT_EQ(+host.block.nDurationMS, int64_t{host.block.nDataSize} * 1000 / perSecond);
            Append(all, host.Data());
            EXPECT_EQ(+host.block.nLastBlock, std::ssize(all) == size ? 1 : 0);
            ASSERT_FALSE(host.Data().empty());
        }
        EXPECT_EQ(all, bits % 8 == 0 ? HostOrder(sound, bits) : sound);
        EXPECT_EQ(Join({host.Rest(), host.Rest()}), Bytes()); // at the end, and again
    }
}

// Frames of 4 bytes, a millisecond each; compared with slices of the whole.
TEST_F(DecodeTest, RangesAndSeeks)
{
    constexpr int64_t kFrames = 1000;
    const Bytes sound = Noise(kFrames * 4), pcm = HostOrder(sound, 16);
    const std::string path = File(AiffBuilder().Comm(2, 16, 1000).Ssnd(sound));
    const std::pair<int64_t, int64_t> ranges[] = {
        {0, -1},      {0, 1000},   {10, 20},     {10, -1},       {0, 0},
        {20, 10},     {-5, 10},    {0, 5000},    {2000, -1},     {2000, 5000},
        {1000, 1000}, {999, 1000}, {0, -2},      {kMin, kMax},   {kMax, kMax},
        {kMax, -1},   {kMin, -1},  {kMin, kMin}, {kMax / 4, -1}, {5, kMax / 4 + 1}};
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
        EXPECT_EQ(host.Rest(), Part(pcm, from * 4, to * 4));
        for (int64_t frame : std::initializer_list<int64_t>{-1, 0, 1, to - from - 1, to - from,
                                                            to - from + 1, kMax / 4, kMax}) {
            frame = std::max(frame, -from);
            const int64_t place = from + std::min(frame, to - from);
            ASSERT_EQ(host.Seek(frame), 1) << frame;
            ASSERT_EQ(host.Next(), 1);
            EXPECT_EQ(host.Data(), Part(pcm, place * 4, to * 4)) << frame;
            EXPECT_EQ(+host.block.nPositionMS, place - from) << frame;
        }
    }
}

TEST_F(DecodeTest, SeekBeforeTheFileFailsAndMovesNothing)
{
    const Bytes sound = Noise(8000);
    Instance host(plugin, report);
    ASSERT_EQ(host.Open(File(AiffBuilder().Comm(2, 16, 8000).Ssnd(sound)), 1), 1);
    // 54 bytes stand before the sound: 13 frames back is still inside the file.
    EXPECT_EQ(host.Seek(-13), 1);
    EXPECT_EQ(host.Rest().size(), 8000u + 52);
    EXPECT_EQ(host.Seek(100), 1);
    EXPECT_EQ(report.Take(kError), "");
    for (const int64_t frame : {int64_t{-14}, int64_t{-1000000}, kMin / 4, kMin}) {
        EXPECT_EQ(host.Seek(frame), 0) << frame;
        EXPECT_EQ(report.Take(kError), Lines("Error SetPosition returned false.  [SetPosition]\n"));
    }
    EXPECT_EQ(host.Rest(), Part(HostOrder(sound, 16), 400, 8000));
}

TEST_F(DecodeTest, PartialFrameAtTheEnd)
{
    for (const size_t torso : {1u, 2u, 3u}) {
        const Bytes sound = Noise(65536 + torso), pcm = HostOrder(sound, 16);
        const std::string path = File(AiffBuilder().Comm(2, 16, 8000).Ssnd(sound));
        Instance host(plugin, path, 1);
        EXPECT_EQ(host.Rest(), Part(pcm, 0, 65536)); // to the end of the audio: whole frames
        // An end after the data: the torso is dropped, and the last block comes once more
        // with its bytes swapped back.
        host.Range(0, 1000000);
        ASSERT_EQ(host.Open(path, 1), 1);
        EXPECT_EQ(+host.open.AudioInfo.nLengthBytes, std::ssize(sound));
        EXPECT_EQ(host.Rest(), Join({Part(pcm, 0, 65536), Part(sound, 0, 65536)}));
        EXPECT_EQ(host.Rest(), Bytes());
        // After whole frames of the same block it is handed out.
        ASSERT_EQ(host.Seek(16000), 1);
        EXPECT_EQ(host.Rest(), Part(pcm, 64000, std::ssize(sound)));
    }
}

// One instance serves one file: the format and the place of the sound stay.
TEST_F(DecodeTest, ReopenedInstanceKeepsTheFirstFormat)
{
    const Bytes first = Noise(400, 1), second = Noise(400, 2);
    const std::string b = dir.Write("b.aiff", AiffBuilder().Comm(1, 8, 44100).Ssnd(second));
    const std::string a = File(AiffBuilder().Comm(2, 16, 8000).Ssnd(first));
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
    ASSERT_EQ(host.Open(a, 1), 1);
    EXPECT_EQ(host.Open(dir.Path("missing"), 1), 0); // lets the first file go
    EXPECT_EQ(host.Next(), 0);
    EXPECT_EQ(host.Seek(0), 0);
}

TEST_F(DecodeTest, FileCutWhileItIsDecodedResumesWhenItIsWhole)
{
    const Bytes sound = Noise(200000), pcm = HostOrder(sound, 16);
    const AiffBuilder file = AiffBuilder().Comm(2, 16, 8000).Ssnd(sound);
    const std::string path = File(file);
    Instance host(plugin, report);
    ASSERT_EQ(host.Open(path, 1), 1);
    ASSERT_EQ(host.Next(), 1);
    ASSERT_EQ(truncate(path.c_str(), 100000), 0);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(host.Next(), 0);
        EXPECT_EQ(report.Take(kError), Lines("Error reading data from file.  [ReadDataBlock]\n"));
    }
    ASSERT_EQ(host.Seek(100), 1);
    ASSERT_EQ(host.Next(), 1);
    EXPECT_EQ(host.Data(), Part(pcm, 400, 400 + 65536));
    EXPECT_EQ(host.Next(), 0);
    const Bytes whole = file.Build();
    std::fstream(path, std::ios::in | std::ios::out)
        .write(reinterpret_cast<const char*>(whole.data()), std::ssize(whole));
    EXPECT_EQ(host.Rest(), Part(pcm, 400 + 65536, 200000));
}

// In a sequence some blocks are read at one go; a seek gives up those that have not come yet.
TEST_F(DecodeTest, BlocksThatWereReadBeforeACutComeUntilASeek)
{
    const Bytes sound = Noise(700000), pcm = HostOrder(sound, 24);
    const std::string path = File(AiffBuilder().Comm(1, 24, 8000).Ssnd(sound));
    for (const bool seeks : {false, true}) {
        Instance host(plugin, report);
        ASSERT_EQ(host.Open(path, 1), 1);
        int64_t at = 0;
        for (int i = 0; i < 5; ++i, at += 65535) {
            if (i == 2) {
                ASSERT_EQ(truncate(path.c_str(), 150000), 0);
                if (seeks)
                    ASSERT_EQ(host.Seek(at / 3), 1);
            }
            ASSERT_EQ(host.Next(), i >= 2 && seeks ? 0 : 1) << i;
            if (i < 2 || !seeks)
                EXPECT_EQ(host.Data(), Part(pcm, at, at + 65535)) << i;
        }
        EXPECT_EQ(host.Next(), 0);
        ASSERT_EQ(truncate(path.c_str(), 700054), 0);
        const Bytes whole = AiffBuilder().Comm(1, 24, 8000).Ssnd(sound).Build();
        std::fstream(path, std::ios::in | std::ios::out)
            .write(reinterpret_cast<const char*>(whole.data()), std::ssize(whole));
    }
}

TEST_F(DecodeTest, RealFilesEqualLibsndfile)
{
    if (!std::filesystem::is_directory(Corpus()))
        GTEST_SKIP() << "no folder of real files; AIFF_CORPUS names one";
    int decoded = 0;
    for (const auto& entry : std::filesystem::directory_iterator(Corpus())) {
        const std::string path = entry.path().string();
        if (!entry.path().extension().string().starts_with(".ai"))
            continue;
        const int format = ReadSamples(path).format, coding = format & SF_FORMAT_SUBMASK;
        if ((format & SF_FORMAT_TYPEMASK) == SF_FORMAT_AIFF && coding <= SF_FORMAT_PCM_32) {
            EXPECT_EQ(ReadWithPlugin(plugin, path), ReadWithSndfile(path)) << path;
            ++decoded;
        } else {
            EXPECT_EQ(Instance(plugin).Open(path, 1), 0) << path;
        }
    }
    EXPECT_GT(decoded, 0);
}

} // namespace
