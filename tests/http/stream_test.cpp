// Streams through the plug-in's nine functions, from servers good and bad.

#include "ScriptServer.h"
#include "support/PluginDriver.h"

#include <sys/resource.h>
#include <sys/time.h>

namespace
{

constexpr uint32_t kDecode = QV_OPEN_PREPARE_DECODE | QV_OPEN_AUDIO_INFO;

// Stereo of 16 bits whose stream has two whole blocks and a part of a third.
const Bytes kSamples = Noise(150000);
const Bytes kFile = AiffBuilder().Comm(2, 16, 44100).Ssnd(kSamples).Build();

// What a stream gives: the 8 bytes before the samples come as samples, too.
Bytes Heard(const Bytes& samples, int bits = 16)
{
    return HostOrder(Join({Bytes(8), samples}), bits);
}

Bytes Front(const Bytes& bytes, size_t size)
{
    return Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size));
}

std::string Why(const std::string& reason)
{
    return Lines("Cannot open stream: " + reason + "  [Open]\n");
}

class StreamTest : public PluginTest
{
protected:
    ScriptServer server;
};

struct GoodCase {
    const char* name;
    Handler handler;
};

Handler Sends(const Bytes& answer)
{
    return [answer](Peer& peer) { peer.Send(answer); };
}

TEST_F(StreamTest, EveryProperAnswerGivesAllAudio)
{
    const std::string chunked = "Transfer-Encoding: chunked\r\n";
    const std::string wild = "TRANSFER-encoding:chunked\nContent-Length: 7\nX: a\n b\nrubbish\n";
    const GoodCase cases[] = {
        {"counted", Sends(Counted(kFile))},
        {"in pieces of 7 bytes", [](Peer& peer) { peer.Send(Counted(kFile), 7); }},
        {"longer than announced", Sends(Join({Counted(kFile), Noise(100000)}))},
        {"until close", Sends(Answer("", kFile, "HTTP/1.0 200 Fine"))},
        {"chunked", Sends(Answer(chunked, InChunks(kFile)))},
        {"chunked, loosely written",
         Sends(Join({Text("HTTP/1.1 200\n" + wild + "\n"), InChunks(kFile, "\n")}))},
        {"after interim answers",
         Sends(Join({Text("HTTP/1.1 100 Continue\r\n\r\n"), Counted(kFile)}))},
        {"as a part that is everything",
         Sends(Answer(RangeField(0, kFile.size() - 1, kFile.size()), kFile, "HTTP/1.1 206 P"))},
        {"ten redirects",
         [this](Peer& peer) {
             constexpr const char* kStatus[] = {"301 M", "302 F", "303 S", "307 T", "308 P"};
             const std::string target = peer.Target();
             const size_t step = target.size() - target.rfind('/') - 1;
             const std::string path = target.substr(0, target.rfind('/') + 1);
             const std::string next = std::string(step + 1, 'x');
             const std::string to[] = {
                 next, path + next, "//127.0.0.1:" + std::to_string(server.Port()) + path + next,
                 "HTTP://127.0.0.1:" + std::to_string(server.Port()) + path + next + "#f"};
             peer.Send(step == 10 ? Counted(kFile)
                                  : Answer("Location: " + to[step % 4] + "\r\n", Noise(5000),
                                           std::string("HTTP/1.1 ") + kStatus[step % 5]));
         }},
    };
    for (const GoodCase& row : cases) {
        SCOPED_TRACE(row.name);
        Instance instance(plugin, &report);
        ASSERT_EQ(instance.Open(server.Serve(row.handler), kDecode), 1);
        EXPECT_EQ(instance.open.AudioInfo.nLengthBytes, 150008);
        EXPECT_EQ(instance.Rest(), Heard(kSamples));
        EXPECT_EQ(instance.Close(), 1);
        EXPECT_EQ(report.Take(kError), "");
    }
}

// A stream that ends inside its audio: whole blocks, then an error, again and again.
TEST_F(StreamTest, ATornStreamGivesWholeBlocksBeforeTheError)
{
    struct Case {
        const char* name;
        Handler handler;
        size_t blocks;
        bool exact = true; // a reset may overtake data
    };
    const std::string chunked = "Transfer-Encoding: chunked\r\n";
    const Bytes chunks = Answer(chunked, InChunks(kFile));
    const Case cases[] = {
        {"counted, closed", Sends(Front(Counted(kFile), 100000)), 1},
        {"counted, a byte missing",
         Sends(Answer(Length(kFile.size()), Front(kFile, kFile.size() - 1))), 2},
        {"until close", Sends(Front(Answer("", kFile), 65600)), 0},
        {"chunked, closed", Sends(Front(chunks, 140000)), 2},
        {"chunked, nonsense",
         Sends(Join({Text("HTTP/1.1 200\r\n" + chunked + "\r\n15000\r\n"), Front(kFile, 0x15000),
                     Text("\r\nz\r\n"), kFile})),
         1},
        {"reset", [](Peer& peer) { peer.Send(Front(Counted(kFile), 140000)).Reset(); }, 2, false},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        Instance instance(plugin, &report);
        const bool isOpen = instance.Open(server.Serve(row.handler), kDecode) == 1;
        ASSERT_TRUE(isOpen || !row.exact);
        Bytes heard;
        while (isOpen && instance.Next() == 1) {
            ASSERT_EQ(instance.block.nLastBlock, 0);
            Append(heard, instance.Data());
        }
        EXPECT_LE(heard.size(), row.blocks * 65536);
        EXPECT_TRUE(heard.size() == row.blocks * 65536 || !row.exact) << heard.size();
        EXPECT_EQ(heard, Front(Heard(kSamples), heard.size()));
        if (row.exact) {
            EXPECT_EQ(instance.Next(), 0);
            EXPECT_EQ(report.Take(kError),
                      Lines("Error reading data from file.  [ReadDataBlock]\n"
                            "Error reading data from file.  [ReadDataBlock]\n"));
        }
        report.Take(kError);
    }
}

TEST_F(StreamTest, WhatCannotBeOpenedSaysWhy)
{
    struct Case {
        std::string url;
        const char* reason;
    };
    const auto status = [this](const std::string& line, const std::string& fields = "") {
        return server.Serve(Answer(fields, kFile, "HTTP/1.1 " + line));
    };
    const auto moved = [&](const std::string& to) {
        return status("302 Found", "Location: " + to + "\r\n");
    };
    const std::string file = dir.Write("a.aif", kFile);
    const Case cases[] = {
        {status("404 Not Found"), "status 404"},
        {status("204 Empty"), "status 204"},
        {status("304 Same", "Location: /0/\r\n"), "status 304"},
        {status("416 Range", "Content-Range: bytes */9\r\n"), "status 416"},
        {status("101 Switching"), "status 101"},
        {status("206 P"), "the server sends another range than asked for"},
        {status("206 P", RangeField(1, kFile.size(), kFile.size() + 1)),
         "the server sends another range than asked for"},
        {status("206 P", RangeField(0, 99, kFile.size())),
         "the server sends another range than asked for"},
        {status("301 Moved"), "redirect without a valid target"},
        {moved("https://127.0.0.1/"), "redirect to something else than http://"},
        {moved("file://" + file), "redirect to something else than http://"},
        {moved("http://h/\rX: y"), "redirect without a valid target"},
        {moved(""), "too many redirects"},
        {status("200 OK", "Transfer-Encoding: gzip\r\n"), "the server sends an unknown coding"},
        {status("200 OK", "Content-Encoding: br\r\n"), "the server sends an unknown coding"},
        {status("200 OK", "Content-Length: 1\r\nContent-Length: 2\r\n"),
         "the server does not answer in proper HTTP"},
        {status("200 OK", "X: " + std::string(70000, 'x') + "\r\n"),
         "the header of the answer is too long"},
        {server.Serve(kFile), "the server does not answer in proper HTTP"},
        {server.Serve(Bytes()), "the connection ended before the data"},
        {server.Serve([](Peer& peer) { peer.Reset(); }), "connection lost"},
        {"http://no.such.host.invalid/", "host not found"},
        {"http://127.0.0.1:1/", "connection refused"},
        {"hTTp://", "not a valid address"},
        {"http://user@127.0.0.1/", "not a valid address"},
        {"http://127.0.0.1/\nEvil: 1", "not a valid address"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.url + " " + row.reason);
        Instance instance(plugin, &report);
        EXPECT_EQ(instance.Open(row.url, kDecode), 0);
        EXPECT_EQ(report.Take(kInformation), Why(row.reason));
        EXPECT_EQ(report.Take(kError), "Error opening file '" + row.url +
                                           "' check no other program has it open.  [Open]\r\n");
        EXPECT_EQ(instance.Close(), 1);
    }
    Instance instance(plugin, &report); // a local file has nothing to say
    EXPECT_EQ(instance.Open(dir.Path("none.aif"), kDecode), 0);
    EXPECT_EQ(report.Take(kInformation), "");
}

TEST_F(StreamTest, ARequestCarriesTheEncodedNameAndNothingElse)
{
    Instance instance(plugin);
    const std::string url = server.Serve(Counted(kFile), "localhost");
    ASSERT_EQ(instance.Open((Wide(url) + L"a b\u00E4\U0001F3B5?x=%41#f").c_str(), 0), 1);
    EXPECT_EQ(server.Requests().at(0),
              "GET /0/a%20b%C3%A4%F0%9F%8E%B5?x=%41 HTTP/1.1\r\nHost: localhost:" +
                  std::to_string(server.Port()) +
                  "\r\nUser-Agent: aiff\r\nAccept: */*\r\nAccept-Encoding: identity\r\n"
                  "Connection: close\r\n\r\n");
}

TEST_F(StreamTest, TheTraceShowsEveryStep)
{
    Instance instance(plugin, &report);
    const std::string url = server.Serve(Counted(kFile));
    ASSERT_EQ(instance.Open(url, 29), 1);
    EXPECT_EQ(
        report.Take(kDebug),
        Lines("->->  [Open]\n"
              "  Opening file '" +
              url +
              "' for read access: Opened\n"
              "  Reading Audio Information\n"
              "  ->->  [Initialize]\n"
              "  <-<-  [Initialize]\n"
              "  Read Audio Information\n"
              "  ->->  [ReadIDTags]\n"
              "      AIFF Header 'FORM'   Length: 150046  FormType 'AIFF'  [PullOutCOMMnSSND]\n"
              "      Got Chunk 'COMM'  Length: 18  RiffSizeLeft: 150034  ChunkPosition: 12\n"
              "    Assigning 'COMM' chunk to WFX\n"
              "      Got Chunk 'SSND'  Length: 150008  RiffSizeLeft: 150008  ChunkPosition: 38\n"
              "    0 ID Tags:\n"
              "  <-<-  [ReadIDTags]\n"
              "  ->->  [FillAudioProps]\n"
              "\tAudio Quality: CD  (Lossless)\n"
              "\tChannel Mapping: Left, Right\n"
              "\tSample Count: 37502\n"
              "\tGapless: Yes\n"
              "  <-<-  [FillAudioProps]\n"
              "  Writing Audio Information\n"
              "  ->->  [FillAudioInfo]\n"
              "Audio Length: 850 mili-seconds  150008 bytes  1411 kbps\n"
              "  <-<-  [FillAudioInfo]\n"
              "  Written Audio Information\n"
              "  Preparing to Decode\n"
              "  ->->  [PrepareToDecodeAudio]\n"
              "    WFX (on file): Format Tag: 1  Channels: 2  Bits per Sample: 16  Samples Per "
              "Second: "
              "44100  Bytes Per Second: 176400  Block Align: 4  CB Size: 0\n"
              "  <-<-  [PrepareToDecodeAudio]\n"
              "  Prepared Decoding\n"
              " <-<-  [Open]\n"));
    EXPECT_EQ(ReadBlob(instance.open.pTagData, instance.open.nTagDataSize), Fields());
    EXPECT_EQ(ReadBlob(instance.open.pPropertiesData, instance.open.nPropertiesDataSize),
              (Fields{{"Audio Quality", "CD  (Lossless)"},
                      {"Channel Mapping", "Left, Right"},
                      {"Sample Count", "37502"},
                      {"Gapless", "Yes"}}));
    EXPECT_EQ(instance.open.AudioInfo.WaveFormat.nValidBits, 0xA5A5) << "18 bytes are written";
    EXPECT_EQ(instance.Close(), 1);
    EXPECT_EQ(report.Take(kDebug), Lines(" ->->  [Close]\n   ->->  [Close]\n   <-<-  [Close]\n"
                                         " <-<-  [Close]\n"));
}

TEST_F(StreamTest, HeadersAreJudgedOnTheFly)
{
    struct Case {
        const char* name;
        Bytes file;
        std::string errors;
        std::string infos = "";
        Bytes heard = {}; // nothing: cannot be opened
        bool isCounted = true;
    };
    const Bytes pcm = Noise(1000);
    const auto aiff = [] { return AiffBuilder().Comm(2, 16, 44100); };
    const std::string in = "  [PullOutCOMMnSSND]\n";
    const std::string noSound = "Error cannot find 'SSND' chunk." + in;
    const std::string sizes =
        "Warning 'RiffSizeLeft != FileSizeLeft' must be extra data on end of file." + in;
    const Bytes comm = Join({Big(1, 2), Big(0, 4), Big(8, 2), Extended(8000)});
    const Case cases[] = {
        {"plain", aiff().Ssnd(pcm).Build(), "", "", Heard(pcm)},
        {"of unknown size", aiff().Ssnd(pcm).Build(), "", sizes, Heard(pcm), false},
        {"little-endian", AiffBuilder().Comm(2, 16, 44100, "sowt").Ssnd(pcm).Build(), "", "",
         Join({Bytes(8), pcm})},
        {"mono of 8 bits", AiffBuilder().Comm(1, 8, 8000).Ssnd(pcm).Build(), "", "", Heard(pcm, 8)},
        {"empty chunks and codes in lower case",
         AiffBuilder()
             .Chunk("NAME", {})
             .Chunk("comm", comm)
             .Chunk("FVER", {})
             .Chunk("ssnd", Join({Bytes(8), pcm}))
             .FormCode("form")
             .Build(),
         "", "", Heard(pcm, 8)},
        {"odd COMM with its pad byte",
         AiffBuilder("AIFC").Chunk("COMM", Join({comm, Text("NONE"), Bytes(1)})).Ssnd(pcm).Build(),
         "", "", Heard(pcm, 8)},
        {"chunks behind the sound", aiff().Ssnd(pcm).Chunk("NAME", Noise(7)).Build(), "", "",
         Heard(pcm)},
        {"sound beyond the form", aiff().Ssnd(pcm).FormSize(500).Build(), "",
         sizes + "Warning Chunk is out of AIFF area (but still inside file)." + in,
         Front(Heard(pcm), 460)},
        {"sound beyond the stream", Front(aiff().Ssnd(pcm).Build(), 506),
         "Error Chunk is out of file." + in, sizes, Front(Heard(pcm), 460)},
        {"empty", {}, "Error: File too small for AIFF." + in},
        {"of 11 bytes", Front(kFile, 11), "Error: File too small for AIFF." + in},
        {"a RIFF file", AiffBuilder().FormCode("RIFF").Build(),
         "Error first chunk unknown: RIFF" + in},
        {"with a version chunk", AiffBuilder().Chunk("FVER", Big(0xA2805140, 4)).Build(),
         "Error unknown Chunk too large for streaming." + in},
        {"without COMM", AiffBuilder().Ssnd(pcm).Build(),
         "Error wave file has no COMM format chunk." + in},
        {"COMM of 17 bytes", AiffBuilder().Chunk("COMM", Bytes(17)).Ssnd(pcm).Build(),
         "Error 'COMM' chunk is a bad size." + in},
        {"COMM of 128001 bytes", AiffBuilder().Chunk("COMM", Bytes(128001)).Ssnd(pcm).Build(),
         "Error 'COMM' chunk is a bad size." + in},
        {"ended in COMM",
         Front(aiff().Ssnd(pcm).Build(), 30),
         "Error cannot read 'COMM' chunk from file." + in,
         sizes,
         {},
         false},
        {"ended in a header",
         Front(aiff().Ssnd(pcm).Build(), 42),
         "File error reading chunk." + in + noSound,
         sizes,
         {},
         false},
        {"without sound", aiff().Build(), noSound},
        {"of a form without size", aiff().Ssnd(pcm).FormSize(0).Build(), noSound, sizes},
        {"of an odd form", aiff().FormSize(31).Build(), noSound,
         "Warning: AIFF chunk has uneven databytes, is non-compliant AIFF." + in + sizes},
        {"compressed", AiffBuilder().Comm(2, 16, 44100, "ulaw").Ssnd(pcm).Build(),
         "Error - file has compressed audio (not supported).  [PrepareToDecodeAudio]\n"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        Instance instance(plugin, &report);
        const std::string url =
            server.Serve(row.isCounted ? Counted(row.file) : Answer("", row.file));
        // All steps meet the header; its fault is told once.
        EXPECT_EQ(instance.Open(url, 29), row.heard.empty() ? 0 : 1);
        EXPECT_EQ(report.Take(kError), Lines(row.errors));
        EXPECT_EQ(report.Take(kInformation), Lines(row.infos));
        if (!row.heard.empty()) {
            EXPECT_EQ(instance.Rest(), row.heard);
        }
        EXPECT_EQ(instance.Open(url, QV_OPEN_READ_TAGS), 1) << "an empty list is no failure";
        EXPECT_EQ(ReadBlob(instance.open.pTagData, instance.open.nTagDataSize), Fields());
        report.Take(kError);
        report.Take(kInformation);
    }
}

// A live stream: the sound chunk has no size, the server tells none.
TEST_F(StreamTest, SoundOfUnknownLengthRunsUntilTheStreamEnds)
{
    Instance instance(plugin, &report);
    const Bytes file =
        AiffBuilder().Comm(2, 16, 44100).Ssnd(kSamples, 0).FormSize(0xFFFFFFFE).Build();
    ASSERT_EQ(instance.Open(server.Serve(Answer("", file)), kDecode), 1);
    EXPECT_EQ(instance.open.AudioInfo.nLengthMS, 0);
    EXPECT_EQ(instance.open.AudioInfo.nLengthBytes, (4294967295000 - 46) / 4 * 4);
    for (size_t block = 0; block < 2; ++block) {
        ASSERT_EQ(instance.Next(), 1);
        EXPECT_EQ(instance.block.nPositionMS, 0);
        EXPECT_EQ(instance.block.nLastBlock, 0);
        const Bytes all = Heard(kSamples);
        EXPECT_EQ(instance.Data(),
                  Bytes(all.begin() + static_cast<ptrdiff_t>(block * 65536),
                        all.begin() + static_cast<ptrdiff_t>(block * 65536 + 65536)));
    }
    EXPECT_EQ(instance.Next(), 0);
    EXPECT_EQ(report.Take(kError), Lines("Error reading data from file.  [ReadDataBlock]\n"));
}

TEST_F(StreamTest, EveryOpenStartsAfresh)
{
    Instance instance(plugin, &report);
    const std::string little =
        server.Serve(Counted(AiffBuilder().Comm(1, 8, 8000, "sowt").Ssnd(Noise(100)).Build()));
    const std::string big = server.Serve(Counted(kFile));
    const std::string broken = server.Serve(Counted(Noise(100)));
    const std::string file = dir.Write("a.aif", kFile);
    ASSERT_EQ(instance.Open(little, kDecode), 1);
    ASSERT_EQ(instance.Next(), 1);
    ASSERT_EQ(instance.Open(broken, kDecode), 0);
    EXPECT_EQ(instance.Next(), 1) << "nothing is left of the first stream";
    EXPECT_FALSE(instance.HasData());
    ASSERT_EQ(instance.Open(big, kDecode), 1);
    EXPECT_EQ(instance.Rest(), Heard(kSamples));
    ASSERT_EQ(instance.Open(file, kDecode), 1);
    EXPECT_EQ(instance.Rest(), HostOrder(kSamples, 16));
    ASSERT_EQ(instance.Open(big, kDecode), 1);
    EXPECT_EQ(instance.Close(), 1);
    EXPECT_EQ(instance.Next(), 0) << "decoding a closed stream";
}

TEST_F(StreamTest, SignalsAndHighDescriptorsDoNotMatter)
{
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t before = std::exchange(limit.rlim_cur, std::min<rlim_t>(limit.rlim_max, 4096));
    setrlimit(RLIMIT_NOFILE, &limit);
    std::vector<int> taken(1100);
    for (int& fd : taken)
        fd = dup(STDERR_FILENO);
    EXPECT_GT(taken.back(), 1024);
    struct sigaction action = {}, previous = {};
    action.sa_handler = [](int) {}; // without SA_RESTART
    sigaction(SIGALRM, &action, &previous);
    const itimerval often = {{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    {
        Instance instance(plugin);
        EXPECT_EQ(instance.Open(server.Serve([](Peer& peer) {
            peer.Send(Front(Counted(kFile), 20000), 100);
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            const Bytes all = Counted(kFile);
            peer.Send(Bytes(all.begin() + 20000, all.end()));
        }),
                                kDecode),
                  1);
        EXPECT_EQ(instance.Rest(), Heard(kSamples));
    }
    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &previous, nullptr);
    for (const int fd : taken)
        close(fd);
    limit.rlim_cur = before;
    setrlimit(RLIMIT_NOFILE, &limit);
}

TEST_F(StreamTest, AThousandStreamsLeaveNothingBehind)
{
    const std::string good = server.Serve(Counted(Front(kFile, 2000)));
    const std::string bad = server.Serve(Answer("", {}, "HTTP/1.1 500 No"));
    const std::string torn = server.Serve([](Peer& peer) { peer.Reset(); });
    const auto nextFree = [] {
        const int fd = dup(STDERR_FILENO);
        close(fd);
        return fd;
    };
    std::vector<int> kept; // the server's connections end later: look far above them
    const int before = nextFree();
    for (int i = 0; i < 1000; ++i) {
        Instance instance(plugin);
        const std::string& url = i % 3 == 0 ? bad : i % 3 == 1 ? torn : good;
        const int opened = instance.Open(url, kDecode);
        if (url == good) {
            EXPECT_EQ(opened, 1);
        }
    }
    for (int i = 0; i < 500 && nextFree() != before; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(nextFree(), before);
}

TEST_F(StreamTest, ThreadsDecodeSideBySide)
{
    const std::string urls[] = {
        server.Serve(Counted(kFile)),
        server.Serve(Answer("Transfer-Encoding: chunked\r\n", InChunks(kFile)))};
    std::vector<std::thread> threads;
    std::atomic<int> good = 0;
    for (size_t i = 0; i < 16; ++i)
        threads.emplace_back([&, i] {
            Instance instance(plugin, &report);
            good += instance.Open(urls[i % 2], 29) == 1 && instance.Rest() == Heard(kSamples);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good, 16);
}

} // namespace
