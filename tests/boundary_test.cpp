// Keys, records, properties, null arguments, and what a host must not notice.

#include "support/PluginDriver.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <limits>
#include <thread>

namespace
{

using BoundaryTest = PluginTest;

constexpr uint8_t kA = 0xA5;
constexpr uint8_t kB = 0x3C;

Bytes SmallFile()
{
    return AiffBuilder().Comm(2, 16, 44100).Ssnd(Noise(400)).Build();
}

// The offsets of a record that a call wrote, as "from-to" ranges: those that two runs
// over different patterns left unequal to their pattern.
template <class Record, class Call>
std::string Written(Call&& call)
{
    const Record a = call(kA);
    const Record b = call(kB);
    std::array<uint8_t, sizeof(Record)> bytesA, bytesB;
    std::memcpy(bytesA.data(), &a, sizeof a);
    std::memcpy(bytesB.data(), &b, sizeof b);
    std::string ranges;
    bool inside = false;
    for (size_t i = 0; i <= sizeof(Record); ++i) {
        const bool isWritten = i < sizeof(Record) && (bytesA[i] != kA || bytesB[i] != kB);
        if (isWritten != inside)
            ranges += std::to_string(i) + (inside ? " " : "-");
        inside = isWritten;
    }
    return ranges;
}

TEST_F(BoundaryTest, OpenWritesTheFieldsThatTheFlagsAskFor)
{
    const std::string path = dir.Write("a.aiff", SmallFile());
    for (uint32_t flags = 0; flags < 64; ++flags) {
        if ((flags & 8) != 0)
            continue; // what a file without tags gives is the tag reader's business
        const bool refused = (flags & 2) != 0;
        const std::string ranges = Written<STQvOpenDecoder>([&](uint8_t pattern) {
            Instance host(plugin);
            EXPECT_EQ(host.Open(path, flags, pattern), refused ? 0 : 1);
            return host.open;
        });
        std::string expected = "0-12 "; // the host's own name and flags
        if (!refused && (flags & (1 + 4)) != 0)
            expected = "0-30 52-72 ";
        if (!refused && (flags & 16) != 0)
            expected += "92-104 ";
        EXPECT_EQ(ranges, expected) << flags;
    }
}

TEST_F(BoundaryTest, FieldsOfOpenAndDecodeBlock)
{
    const std::string path = dir.Write("a.aiff", SmallFile());
    Instance host(plugin);
    ASSERT_EQ(host.Open(path, 4), 1);
    const uint8_t format[18] = {1, 0, 2, 0, 0x44, 0xAC, 0, 0, 0x10, 0xB1, 2, 0, 4, 0, 16, 0, 0, 0};
    EXPECT_EQ(std::memcmp(&host.open.AudioInfo, format, 18), 0);
    EXPECT_EQ(+host.open.AudioInfo.nBitRate, 176400u * 8);
    EXPECT_EQ(+host.open.AudioInfo.nLengthMS, 2);
    EXPECT_EQ(+host.open.AudioInfo.nLengthBytes, 400);
    const auto blockAfter = [&](int blocks, uint8_t pattern) {
        Instance other(plugin);
        EXPECT_EQ(other.Open(path, 1), 1);
        for (int i = 0; i < blocks; ++i)
            EXPECT_EQ(other.Next(pattern), 1);
        return other.block;
    };
    EXPECT_EQ(Written<STQvAudioBlock>([&](uint8_t pattern) { return blockAfter(1, pattern); }),
              "0-30 52-64 80-92 ");
    EXPECT_EQ(Written<STQvAudioBlock>([&](uint8_t pattern) { return blockAfter(2, pattern); }),
              "80-92 ");
    const STQvAudioBlock block = blockAfter(1, kA);
    EXPECT_EQ(std::memcmp(&block.WaveFormat, format, 18), 0);
    EXPECT_EQ(+block.nBitRate, 176400u * 8);
    EXPECT_EQ(+blockAfter(2, kA).nPositionMS, 2);
}

TEST_F(BoundaryTest, GetAnswersItsKeysOnly)
{
    Instance host(plugin);
    using Answer = std::pair<const wchar_t*, const wchar_t*>;
    const auto ask = [&](const wchar_t* key, uint32_t index, Answer expected) {
        STQvCodecGetSet record;
        std::memset(&record, kA, sizeof record);
        record.nItemIndex = index;
        const wchar_t* const untouched = record.pText1;
        const bool known = expected.first != nullptr;
        EXPECT_EQ(plugin.Get(host.handle, key, &record), known ? 1 : 0) << index;
        EXPECT_EQ(record.pText1 == untouched, !known) << index;
        EXPECT_EQ(record.pText2 == untouched, expected.second == nullptr) << index;
        if (known)
            EXPECT_STREQ(record.pText1, expected.first);
        if (expected.second != nullptr)
            EXPECT_STREQ(record.pText2, expected.second);
    };
    const Answer decodes[] = {{L".aif", L"AIFF"}, {L".aiff", L"AIFF"}, {L".aifc", L"AIFC"}, {}, {}};
    for (uint32_t i = 0; i < 5; ++i)
        ask(L"Decodes", i, decodes[i]);
    const wchar_t* const types[] = {L"audio/aiff",         L"application/aiff",  L"audio/x-aiff",
                                    L"application/x-aiff", L"audio/aif",         L"application/aif",
                                    L"audio/x-aif",        L"application/x-aif", nullptr};
    for (uint32_t i = 0; i < 9; ++i)
        ask(L"StreamingDecodes", i, {types[i], nullptr});
    ask(L"Decoder Description", 77, {L"Aiff Decoder", nullptr});
    for (const wchar_t* key : {L"decodes", L"Decodes ", L"Decode", L"", L"IDTags"})
        ask(key, 0, {});
    ask(nullptr, 0, {});
    ask(L"Decodes", 0xFFFFFFFF, {});
    EXPECT_EQ(Written<STQvCodecGetSet>([&](uint8_t pattern) {
                  STQvCodecGetSet record;
                  std::memset(&record, pattern, sizeof record);
                  record.nItemIndex = 0;
                  EXPECT_EQ(plugin.Get(host.handle, L"Decodes", &record), 1);
                  return record;
              }),
              "0-4 24-40 ");
    STQvCodecGetSet record = {};
    EXPECT_EQ(plugin.Set(host.handle, L"set decode range", &record), 0);
    EXPECT_EQ(plugin.Set(host.handle, nullptr, &record), 0);
    EXPECT_EQ(plugin.Set(host.handle, L"IDTags", &record), 0); // no file, no blob
}

TEST_F(BoundaryTest, NullArgumentsAreHarmless)
{
    STQvCodecGetSet getSet = {};
    STQvOpenDecoder open = {};
    STQvEncoderFluid fluid = {};
    STQvAudioBlock block = {};
    for (const bool hasHandle : {false, true}) {
        void* handle = hasHandle ? plugin.Create(nullptr) : nullptr;
        EXPECT_EQ(handle != nullptr, hasHandle);
        EXPECT_EQ(plugin.Get(handle, nullptr, hasHandle ? nullptr : &getSet), 0);
        EXPECT_EQ(plugin.Set(handle, nullptr, hasHandle ? nullptr : &getSet), 0);
        EXPECT_EQ(plugin.Open(handle, hasHandle ? nullptr : &open), 0);
        EXPECT_EQ(plugin.DecodeBlock(handle, hasHandle ? nullptr : &block), 0);
        EXPECT_EQ(plugin.SetPosition(handle, 0), 0);
        EXPECT_EQ(plugin.DeleteATag(handle, nullptr, nullptr), 0);
        EXPECT_EQ(plugin.Close(handle, hasHandle ? nullptr : &fluid), hasHandle ? 1 : 0);
        EXPECT_EQ(plugin.Destroy(handle), 1);
    }
}

TEST_F(BoundaryTest, PropertiesDescribeTheAudio)
{
    struct Row {
        int channels, bits;
        double rate;
        const char *type, *quality, *layout, *settings;
    };
    const std::string front = "Left, Right, Center";
    const std::string five = front + ", Sub-woofer, Back Left, Back Right";
    const std::string seven = five + ", Back Center";
    const std::string eight = five + ", Side Left, Side Right";
    const std::string fiveOnly = front + ", Back Left, Back Right";
    const char* const kNone = "NONE (no compression)";
    const Row rows[] = {
        {2, 16, 44100, "", "CD  (Lossless)", "Left, Right", kNone},
        {1, 16, 48000, "", "DAT  (Lossless)", "Center", kNone},
        {3, 24, 96000, "", "DVD  (Lossless)", "Left, Right, Sub-woofer", kNone},
        {4, 32, 48000, "", "DVD  (Lossless)", "Left, Right, Back Left, Back Right", kNone},
        {5, 24, 47999, "", "Perfect  (Lossless)", fiveOnly.c_str(), kNone},
        {6, 24, 44100, "", "Perfect  (Lossless)", five.c_str(), kNone},
        {7, 8, 22050, "", "Perfect  (Lossless)", seven.c_str(), kNone},
        {8, 16, 44101, "", "Perfect  (Lossless)", eight.c_str(), kNone},
        {9, 16, 44100, "", "CD  (Lossless)", "", kNone},
        {0, 16, 44100, "", "CD  (Lossless)", "", kNone},
        {2, 16, 44100, "none", "CD  (Lossless)", "Left, Right", "none (x)"},
        {2, 16, 44100, "sowt", "CD  (Lossless)", "Left, Right", "sowt (no compression)"},
        {2, 16, 44100, "SOWT", "CD  (Lossless)", "Left, Right", "SOWT (no compression)"},
        {2, 24, 48000, "fl32", "DVD  (Lossless)", "Left, Right", "fl32 (x)"},
        {2, 16, 44100, "FL64", "CD  (Lossless)", "Left, Right", "FL64 (x)"},
        {1, 8, 15937, "alaw", "Low  (Lossy)", "Center", "alaw (x)"},
        {1, 8, 15938, "ULAW", "Medium  (Lossy)", "Center", "ULAW (x)"},
        {2, 8, 15938, "Sowt", "Medium  (Lossy)", "Left, Right", "Sowt (x)"},
        {2, 8, 1, "ima4", "Low  (Lossy)", "Left, Right", "ima4 (x)"},
        // Bits per second are counted in 32 bits, signed.
        {1, 8, 300e6, "ima4", "Low  (Lossy)", "Center", "ima4 (x)"},
        {1, 8, 800e6, "alaw", "Medium  (Lossy)", "Center", "alaw (x)"},
        {0, 8, 127500, "alaw", "Medium  (Lossy)", "", "alaw (x)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.type) + " " + row.quality + " " + row.layout);
        const Bytes file = AiffBuilder()
                               .Comm(row.channels, row.bits, row.rate, row.type, "x")
                               .Ssnd(Noise(1344))
                               .Chunk("ANNO", Bytes(2000))
                               .Chunk("odd\x01", Bytes(1))
                               .Build();
        Instance host(plugin);
        ASSERT_EQ(host.Open(dir.Write("a.aiff", file), 16), 1);
        const bool isAifc = row.type[0] != 0;
        const int align = std::max(row.channels * row.bits / 8, 1);
        const std::string comm = isAifc ? "24" : "18";
        const Fields expected = {
            {"Audio Quality", row.quality},
            {"Encoder Settings", row.settings},
            {"Channel Mapping", row.layout},
            {"Sample Count", std::to_string(1344 / align)},
            {"Riff Chunks", "'COMM' " + comm +
                                " bytes,  'SSND' 1.3 KB,  'ANNO' 2.0 KB,  "
                                "'odd\x01' 1 byte"},
            {"Gapless", "Yes"},
            {"Wave Header", isAifc ? "AIFC" : "AIFF"},
        };
        EXPECT_EQ(ReadBlob(host.open.pPropertiesData, host.open.nPropertiesDataSize), expected);
    }
    Instance host(plugin);
    host.Range(3, 3);
    ASSERT_EQ(host.Open(dir.Write("a.aiff", SmallFile()), 16), 1);
    EXPECT_EQ(ReadBlob(host.open.pPropertiesData, host.open.nPropertiesDataSize)[3].second, "0");
}

// The type counts from 22 bytes on, the name from 24; its count byte does not count.
TEST_F(BoundaryTest, CompressionTypeAndNameOfShortCommons)
{
    const Bytes common = Join({Big(1, 2), Big(0, 4), Big(8, 2), Extended(8000)});
    const auto settings = [&](const char* formType, const std::string& rest) {
        const Bytes file =
            AiffBuilder(formType).Chunk("COMM", Join({common, Text(rest)})).Ssnd({}).Build();
        Instance host(plugin);
        EXPECT_EQ(host.Open(dir.Write("a.aiff", file), 16), 1);
        return ReadBlob(host.open.pPropertiesData, host.open.nPropertiesDataSize)[1].second;
    };
    EXPECT_EQ(settings("AIFC", "ula"), "NONE (no compression)");
    EXPECT_EQ(settings("AIFC", "ulaw"), "ulaw ()");
    EXPECT_EQ(settings("aifc", "ulaw"), "ulaw ()");
    EXPECT_EQ(settings("AIFF", "ulaw\3abc"), "NONE (no compression)");
    EXPECT_EQ(settings("AIFC", "ulaw\3"), "ulaw ()");
    EXPECT_EQ(settings("AIFC", "ulaw\3abcdef"), "ulaw (abcdef)");
    EXPECT_EQ(settings("AIFC", std::string("ulaw\7ab\0def", 11)), "ulaw (ab)");
    EXPECT_EQ(settings("AIFC", std::string("\0\0\0\0\1a", 6)), "");
}

TEST_F(BoundaryTest, UnusualFileNames)
{
    const std::string raw = dir.Write("\xC3\xA9 \xFF.aiff", SmallFile());
    Instance host(plugin);
    EXPECT_EQ(host.Open((Wide(dir.Path("")) + L"\u00E9 \xDCFF.aiff").c_str(), 1), 1);
    EXPECT_EQ(host.Open((Wide(dir.Path("")) + L"\u00E9 \xD800.aiff").c_str(), 1), 0);
    const std::string pipe = dir.Path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(host.Open(pipe, 1), 0); // and does not wait for a writer
}

// --- The host's process ---------------------------------------------------------------

size_t OpenDescriptors()
{
    const auto folder = std::filesystem::directory_iterator("/dev/fd");
    return static_cast<size_t>(std::distance(begin(folder), end(folder)));
}

TEST_F(BoundaryTest, EachDescriptorIsClosedExactlyOnce)
{
    const std::string good = dir.Write("a.aiff", SmallFile());
    const std::string bad = dir.Write("b.aiff", Bytes(20));
    const size_t before = OpenDescriptors();
    for (int ending = 0; ending < 3; ++ending) {
        void* handle = plugin.Create(nullptr);
        STQvOpenDecoder open = {};
        for (const std::string& path : {good, bad, good}) {
            const std::wstring name = Wide(path);
            open.pFileName = name.c_str();
            open.nFlags = 1;
            EXPECT_EQ(plugin.Open(handle, &open), path == good ? 1 : 0);
            EXPECT_LE(OpenDescriptors(), before + 1);
        }
        if (ending > 0)
            plugin.Close(handle, nullptr);
        // A stranger takes the place of the descriptor that is gone.
        const int stranger = ::open(good.c_str(), O_RDONLY | O_CLOEXEC);
        if (ending > 1)
            plugin.Close(handle, nullptr);
        plugin.Destroy(handle);
        EXPECT_EQ(close(stranger), 0);
        EXPECT_EQ(OpenDescriptors(), before);
    }
}

TEST_F(BoundaryTest, ReportWithoutReaderRaisesNoSignal)
{
    const std::string path = dir.Write("a.aiff", SmallFile());
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    void* const handle = reinterpret_cast<void*>(intptr_t{ends[1]});
    const STNStdReport record = {handle, handle, handle};
    sigset_t pipeSignal, mask, pending;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    // Without and with a signal that the host itself holds back and awaits.
    for (const bool waiting : {false, true}) {
        if (waiting) {
            pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
            raise(SIGPIPE);
        }
        void* instance = plugin.Create(&record);
        const std::wstring name = Wide(path);
        STQvOpenDecoder open = {};
        open.pFileName = name.c_str();
        open.nFlags = 1;
        EXPECT_EQ(plugin.Open(instance, &open), 1);
        plugin.Destroy(instance);
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        sigpending(&pending);
        EXPECT_EQ(sigismember(&mask, SIGPIPE), waiting);
        EXPECT_EQ(sigismember(&pending, SIGPIPE), waiting);
    }
    int taken = 0;
    sigwait(&pipeSignal, &taken);
    pthread_sigmask(SIG_UNBLOCK, &pipeSignal, nullptr);
    close(ends[1]);
}

TEST_F(BoundaryTest, InstancesWorkInParallel)
{
    const Bytes sound = Noise(300000);
    const std::string path =
        dir.Write("a.aiff", AiffBuilder().Comm(2, 24, 8000).Ssnd(sound).Build());
    const Bytes pcm = HostOrder(sound, 24);
    std::atomic<int> good = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 5; ++round) {
                Instance host(plugin, &report);
                good += host.Open(path, 1 + 4 + 16) == 1 && host.Rest() == pcm &&
                        host.Seek(9) == 1 && host.Close() == 1;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good, 4 * 5);
    // Lines of different instances may interleave, but every one was written.
    const std::string trace = report.Take(kDebug);
    const auto count = [&](const std::string& text) {
        int n = 0;
        for (size_t at = 0; (at = trace.find(text, at)) != std::string::npos; ++at)
            ++n;
        return n;
    };
    EXPECT_EQ(count("->->  [ScanFile]\r\n"), 20);
    EXPECT_EQ(count("<-<-  [Close]\r\n"), 40);
}

} // namespace
