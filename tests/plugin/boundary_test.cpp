// SPDX-License-Identifier: MIT

// Keys, records, properties, null arguments, and what a host must not notice.

#include "support/PluginDriver.h"
#include "tags/TagBuilder.h"

#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace
{

using namespace std::string_literals;
using BoundaryTest = PluginTest;
using testing::HasSubstr;

const AiffBuilder kSmall = AiffBuilder().Comm(2, 16, 44100).Ssnd(Noise(400));

// The offsets of a record that a call wrote, as "from-to" ranges: those that two runs
// over different patterns left unequal to their pattern.
template <class Call>
std::string Written(Call&& call)
{
    const auto a = call(uint8_t{0xA5}), b = call(uint8_t{0x3C});
    const auto *bytesA = reinterpret_cast<const uint8_t*>(&a),
               *bytesB = reinterpret_cast<const uint8_t*>(&b);
    std::string ranges;
    bool inside = false;
    for (size_t i = 0; i <= sizeof a; ++i) {
        const bool isWritten = i < sizeof a && (bytesA[i] != 0xA5 || bytesB[i] != 0x3C);
        if (isWritten != inside)
            ranges += std::to_string(i) + (inside ? " " : "-");
        inside = isWritten;
    }
    return ranges;
}

TEST_F(BoundaryTest, CallsWriteTheFieldsThatTheyAreAskedFor)
{
    const std::string path = File(kSmall);
    for (uint32_t flags = 0; flags < 64; ++flags) {
        if ((flags & 8) != 0)
            continue; // what a file without tags gives is the tag reader's business
        const bool refused = (flags & 2) != 0;
        const auto record = [&](uint8_t pattern) {
            Instance host(plugin);
            EXPECT_EQ(host.Open(path, flags, pattern), refused ? 0 : 1);
            return host.open;
        };
        const bool hasAudio = !refused && (flags & (1 + 4)) != 0; // else the host's own fields
        EXPECT_EQ(Written(record), (hasAudio ? "0-30 52-72 "s : "0-12 "s) +
                                       (!refused && (flags & 16) != 0 ? "92-104 " : ""));
    }
    const Bytes format = Text("\1\0\2\0\x44\xAC\0\0\x10\xB1\2\0\4\0\x10\0\0\0"s);
    const auto blockAfter = [&](int blocks, uint8_t pattern) {
        Instance host(plugin, path, 1);
        const STQvAudioInfo& audio = host.open.AudioInfo;
        EXPECT_EQ(std::memcmp(&audio, format.data(), 18), 0);
        EXPECT_EQ(+audio.nBitRate, 176400u * 8);
        EXPECT_TRUE(audio.nLengthMS == 2 && audio.nLengthBytes == 400);
        for (int i = 0; i < blocks; ++i)
            EXPECT_EQ(host.Next(pattern), 1);
        return host.block;
    };
    EXPECT_EQ(Written([&](uint8_t old) { return blockAfter(1, old); }), "0-30 52-64 80-92 ");
    EXPECT_EQ(Written([&](uint8_t old) { return blockAfter(2, old); }), "80-92 ");
    const STQvAudioBlock block = blockAfter(1, 0);
    EXPECT_EQ(std::memcmp(&block.WaveFormat, format.data(), 18), 0);
    EXPECT_EQ(+block.nBitRate, 176400u * 8);
    EXPECT_EQ(+blockAfter(2, 0).nPositionMS, 2);
}

TEST_F(BoundaryTest, GetAnswersItsKeysOnly)
{
    Instance host(plugin);
    const auto ask = [&](const wchar_t* key, uint32_t index) {
        STQvCodecGetSet record = {};
        record.nItemIndex = index;
        record.pText1 = record.pText2 = L""; // where nobody writes
        const int32_t result = plugin.Get(host.handle, key, &record);
        return std::to_wstring(result) + record.pText1 + L" " + record.pText2;
    };
    std::wstring decodes, types;
    for (uint32_t i = 0; i < 5; ++i)
        decodes += ask(L"Decodes", i) + L";";
    for (uint32_t i = 0; i < 9; ++i)
        types += ask(L"StreamingDecodes", i) + L";";
    EXPECT_EQ(decodes, L"1.aif AIFF;1.aiff AIFF;1.aifc AIFC;0 ;0 ;");
    EXPECT_EQ(types, L"1audio/aiff ;1application/aiff ;1audio/x-aiff ;1application/x-aiff ;"
                     L"1audio/aif ;1application/aif ;1audio/x-aif ;1application/x-aif ;0 ;");
    EXPECT_EQ(ask(L"Decodes", 0xFFFFFFFF), L"0 ");
    EXPECT_EQ(ask(L"Decoder Description", 77), L"1Aiff Decoder ");
    for (const wchar_t* key : {L"decodes", L"Decodes ", L"Decode", L"", L"IDTags"})
        EXPECT_EQ(ask(key, 0), L"0 ");
    STQvCodecGetSet record = {};
    for (const wchar_t* key : {L"set decode range", L"Decodes", L"", L"IDTags"})
        EXPECT_EQ(plugin.Set(host.handle, key, &record), 0); // IDTags: neither file nor blob
}

TEST_F(BoundaryTest, NullArgumentsAreHarmless)
{
    const Bytes noItems(4);
    STQvCodecGetSet getSet = {}, tags = {};
    STQvOpenDecoder open = {};
    STQvAudioBlock block = {};
    tags.pData = noItems.data();
    tags.nDataSize = 4;
    for (const bool own : {false, true}) {
        void* const host = own ? plugin.Create(nullptr) : nullptr;
        STQvCodecGetSet* const record = own ? nullptr : &getSet;
        EXPECT_EQ(host != nullptr, own);
        const int32_t results[] = {plugin.Get(host, nullptr, &getSet),
                                   plugin.Get(host, L"Decodes", record),
                                   plugin.Set(host, nullptr, &getSet),
                                   plugin.Set(host, L"Set Decode Range", record),
                                   plugin.Open(host, own ? nullptr : &open),
                                   plugin.DecodeBlock(host, own ? nullptr : &block),
                                   plugin.Set(host, L"IDTags", &tags),
                                   plugin.SetPosition(host, 0),
                                   plugin.DeleteATag(host, nullptr, nullptr)};
        EXPECT_THAT(results, testing::Each(0));
        EXPECT_EQ(plugin.Close(host, nullptr), own ? 1 : 0);
        EXPECT_EQ(plugin.Destroy(host), 1);
    }
}

TEST_F(BoundaryTest, PropertiesDescribeTheAudio)
{
    const std::string six = "Left, Right, Center, Sub-woofer, Back Left, Back Right";
    using Row = std::tuple<int, int, double, std::string, int, const char*, std::string>;
    std::vector<Row> rows = {
        {0, 16, 44100, "", 1, "CD", ""},
        {1, 16, 48000, "", 1, "DAT", "Center"},
        {2, 16, 44100, "", 1, "CD", "Left, Right"},
        {3, 24, 96000, "", 1, "DVD", "Left, Right, Sub-woofer"},
        {4, 32, 48000, "", 1, "DVD", "Left, Right, Back Left, Back Right"},
        {5, 24, 47999, "", 1, "Perfect", "Left, Right, Center, Back Left, Back Right"},
        {6, 24, 44100, "", 1, "Perfect", six},
        {7, 8, 22050, "", 1, "Perfect", six + ", Back Center"},
        {8, 16, 44101, "", 1, "Perfect", six + ", Side Left, Side Right"},
        {9, 16, 44100, "", 1, "CD", ""},
        {1, 8, 15937, "alaw", 6, "Low", "Center"},
        {1, 8, 15938, "ALAW", 6, "Medium", "Center"},
        {0, 8, 127500, "ulaw", 7, "Low", ""},
        {2, 4, 31875, "ULAW", 7, "Medium", "Left, Right"},  // at the limit
        {2, 8, 15937, "Sowt", 65535, "Low", "Left, Right"}, // of each channel
        {2, 8, 15938, "Sowt", 65535, "Medium", "Left, Right"},
        // Bits per second are counted in 32 bits, signed.
        {1, 8, 300e6, "ima4", 65535, "Low", "Center"},
        {1, 8, 800e6, "Fl32", 65535, "Medium", "Center"}};
    for (const std::string type : {"NONE", "none", "sowt", "SOWT", "FL32", "fl32", "FL64", "fl64"})
        rows.push_back(
            {2, 24, 48000, type, type[0] == 'F' || type[0] == 'f' ? 3 : 1, "DVD", "Left, Right"});
    for (const auto& [channels, bits, rate, type, tag, quality, layout] : rows) {
        SCOPED_TRACE(type + " x " + std::to_string(channels));
        AiffBuilder file;
        file.Comm(channels, bits, rate, type, "x").Ssnd(Noise(1344)).Chunk("odd\x01", Bytes(1));
        const Instance host(plugin, File(file), 16 + 4);
        EXPECT_EQ(+host.open.AudioInfo.WaveFormat.nFormatTag, tag);
        const bool isUnnamed = type.empty() || type == "sowt" || type == "SOWT";
        const std::string settings =
            (type.empty() ? "NONE" : type) + (isUnnamed ? " (no compression)" : " (x)");
        const int frames = 1344 / std::max(channels * bits / 8, 1);
        EXPECT_EQ(Properties(host),
                  "Audio Quality: "s + quality + (tag < 4 ? "  (Lossless)" : "  (Lossy)") +
                      "\nEncoder Settings: " + settings + "\nChannel Mapping: " + layout +
                      "\nSample Count: " + std::to_string(frames) + "\nRiff Chunks: 'COMM' " +
                      (type.empty() ? "18" : "24") + " bytes,  'SSND' 1.3 KB,  'odd\x01' 1 byte" +
                      "\nGapless: Yes" + "\nWave Header: " + (type.empty() ? "AIFF\n" : "AIFC\n"));
    }
    Instance host(plugin);
    host.Range(3, 3);
    ASSERT_EQ(host.Open(File(kSmall), 16), 1);
    EXPECT_THAT(Properties(host), HasSubstr("\nSample Count: 0\n"));
    const AiffBuilder tagFirst =
        AiffBuilder().Chunk("ID3 ", Tag(3, "TIT2:a")).Comm(1, 8, 8000).Ssnd(Bytes(2));
    EXPECT_THAT(Properties(Instance(plugin, File(tagFirst), 16)), HasSubstr("iTunes ID3"));
}

// The type counts from 22 bytes on, the name from 24; its count byte does not count.
TEST_F(BoundaryTest, CompressionTypeAndNameOfShortCommons)
{
    const std::string none = "NONE (no compression)", ulaw = "ulaw ()";
    const std::string rows[][2] = {{"AIFCula", none},
                                   {"AIFFulaw\3abc", none},
                                   {"AIFCulaw", ulaw},
                                   {"aifculaw", ulaw},
                                   {"AIFCulaw\3", ulaw},
                                   {"AIFCulaw\3abcdef", "ulaw (abcdef)"},
                                   {"AIFCulaw\7ab\0def"s, "ulaw (ab)"},
                                   {"AIFC\0\0\0\0\1a"s, ""}};
    const Bytes common = Join({Big(1, 2), Big(0, 4), Big(8, 2), Extended(8000)});
    for (const auto& [text, settings] : rows) {
        AiffBuilder file(text.substr(0, 4));
        file.Chunk("COMM", Join({common, Text(text.substr(4))})).Ssnd({});
        EXPECT_THAT(Properties(Instance(plugin, File(file), 16)),
                    HasSubstr("\nEncoder Settings: " + settings + "\n"))
            << text;
    }
}

TEST_F(BoundaryTest, UnusualFileNames)
{
    dir.Write("\xC3\xA9 \xFF.aiff", kSmall.Build());
    Instance host(plugin);
    EXPECT_EQ(host.Open((Wide(dir.Path("")) + L"\u00E9 \xDCFF.aiff").c_str(), 1), 1);
    EXPECT_EQ(host.Open((Wide(dir.Path("")) + L"\u00E9 \xD800.aiff").c_str(), 1), 0);
    ASSERT_EQ(mkfifo(dir.Path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(host.Open(dir.Path("pipe"), 1), 0); // and does not wait for a writer
}

TEST_F(BoundaryTest, EachDescriptorIsClosedExactlyOnce)
{
    const auto openDescriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/dev/fd"), {});
    };
    const std::string good = File(kSmall), bad = dir.Write("b.aiff", Bytes(20));
    const auto before = openDescriptors();
    for (const int closings : {0, 1, 2}) {
        auto host = std::make_unique<Instance>(plugin);
        for (const std::string& path : {good, bad, good})
            EXPECT_EQ(host->Open(path, 1), path == good ? 1 : 0);
        EXPECT_EQ(openDescriptors(), before + 1);
        if (closings > 0)
            host->Close();
        // A stranger takes the place of the descriptor that is gone.
        const int stranger = open(good.c_str(), O_RDONLY | O_CLOEXEC);
        if (closings > 1)
            host->Close();
        host.reset();
        EXPECT_EQ(close(stranger), 0);
        EXPECT_EQ(openDescriptors(), before);
    }
}

TEST_F(BoundaryTest, ReportWithoutReaderRaisesNoSignal)
{
    const std::string path = File(kSmall);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    void* const output = reinterpret_cast<void*>(intptr_t{ends[1]});
    sigset_t pipeSignal, mask, pending;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    // Without and with a signal that the host itself holds back and awaits.
    for (const bool waiting : {false, true}) {
        pthread_sigmask(waiting ? SIG_BLOCK : SIG_UNBLOCK, &pipeSignal, nullptr);
        if (waiting)
            raise(SIGPIPE);
        EXPECT_EQ(Instance(plugin, STNStdReport{output, output, output}).Open(path, 1), 1);
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        sigpending(&pending);
        EXPECT_EQ(sigismember(&mask, SIGPIPE), waiting);
        EXPECT_EQ(sigismember(&pending, SIGPIPE), waiting);
    }
    if (int taken = 0; sigismember(&pending, SIGPIPE) == 1)
        sigwait(&pipeSignal, &taken);
    close(ends[1]);
}

} // namespace
