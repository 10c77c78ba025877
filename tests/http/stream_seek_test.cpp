// SPDX-License-Identifier: MIT

// Seeking in streams, decode ranges, and the limits on a server's patience.

#include "StreamHarness.h"
#include "decode/StreamingDecoder.h"
#include "support/net/Socket.h"

#include <netdb.h>

using namespace aiff;

// Names of the tests' own: "many.test" has the addresses below. Overrides the function
// of the C library in this program.
static std::vector<std::pair<std::string, std::string>> manyAddresses; // number, port
extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints,
                           addrinfo** list)
{
    using Function = decltype(&getaddrinfo);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (std::string(node) != "many.test")
        return real(node, service, hints, list);
    addrinfo** next = list;
    for (const auto& [number, port] : manyAddresses) {
        if (const int fault = real(number.c_str(), port.c_str(), hints, next); fault != 0)
            return fault;
        next = &(*next)->ai_next;
    }
    return 0;
}

namespace
{

using std::chrono::milliseconds;
using namespace std::string_literals;

// The audio from one frame of the stream to another.
Bytes Part(size_t from, size_t to = kFrames)
{
    return From(Front(kHeard, to * 4), from * 4);
}

TEST_F(StreamTest, SeeksByAskingAServerOfRangesForTheRest)
{
    Instance host(plugin, server.Serve(Ranged(kFile)), kDecode);
    // Where to, where that is, and the request for it; none where none is needed.
    const std::tuple<int64_t, size_t, std::string> cases[] = {
        {18000, 18000, "72046-"}, {0, 0, "46-"},      {37501, 37501, "150050-"}, {1, 1, "50-"},
        {INT64_MIN, 0, "46-"},    {16384, 16384, ""}, {37502, 37502, ""},        {99, 99, "442-"},
        {INT64_MAX, 37502, ""}};
    for (const auto& [frame, lands, range] : cases) {
        SCOPED_TRACE(frame);
        const size_t before = server.Requests().size();
        ASSERT_EQ(host.Seek(frame), 1);
        const std::vector<std::string> requests = server.Requests();
        ASSERT_EQ(requests.size() - before, range.empty() ? 0u : 1u);
        const std::string line = "\r\nRange: bytes=" + range + "\r\n\r\n";
        if (!range.empty())
            EXPECT_TRUE(requests.back().ends_with(line)) << requests.back();
        EXPECT_EQ(host.Next(), 1);
        EXPECT_EQ(host.block.nPositionMS, static_cast<int64_t>(lands * 4000 / 176400));
        EXPECT_EQ(host.Data(), Part(lands, std::min(lands + 16384, kFrames)));
    }
    // A sound chunk without a size has no audio where the stream's size is known.
    const Bytes empty = AiffBuilder().Comm(2, 16, 44100).Ssnd(kSamples, 0).Build();
    ASSERT_EQ(host.Open(server.Serve(Ranged(empty)), kDecode), 1);
    EXPECT_EQ(host.open.AudioInfo.nLengthBytes, 0);
    // The pad byte of an odd chunk before the sound counts.
    const Bytes odd = Join({Big(2, 2), Big(0, 4), Big(16, 2), Extended(44100), Bytes(1)});
    const Bytes file = AiffBuilder().Chunk("COMM", odd).Ssnd(kSamples).Build();
    ASSERT_EQ(host.Open(server.Serve(Ranged(file)), kDecode), 1);
    ASSERT_EQ(host.Seek(30000), 1);
    EXPECT_EQ(host.Rest(), Part(30000));
}

TEST_F(StreamTest, LeavesDecodingWhereItWasWhenTheServerCannotOrDoesNotDoIt)
{
    const size_t size = kFile.size();
    const Bytes rest = From(kFile, 72046), proper = Partial(72046, size - 1, size, rest);
    const std::string ranges = "Accept-Ranges: bytes\r\n";
    const Bytes tagged = Answer(ranges + "ETag: \"v1\"\r\n" + Length(size), kFile);
    std::vector<Handler> handlers = {
        Sends(Counted(kFile)), Sends(Answer("Accept-Ranges: none\r\n" + Length(size), kFile)),
        Sends(Answer(ranges, kFile)), Sends(Chunked(kFile, ranges)),
        [tagged, proper](Peer& peer) { // of a file that is replaced meanwhile
            const bool isTold = peer.request.find("\r\nIf-Range: \"v1\"\r\n") != std::string::npos;
            peer.Send(isTold || peer.FirstByte() < 0 ? tagged : proper);
        }};
    for (const Bytes& answer :
         {Counted(kFile), Partial(72045, size - 1, size, rest),
          Partial(72046, size - 2, size, rest), Partial(72046, size, size + 1, rest),
          Partial(72046, size - 1, size, rest, Length(7)),
          Answer("Content-Range: bytes 72046-150053/*\r\n", rest), Answer("", rest, "206 P"),
          Answer("Location: /0/\r\n", {}, "302 F"), Bytes()})
        handlers.push_back(Ranged(kFile, [answer](size_t) { return answer; }));
    for (size_t i = 0; i < handlers.size(); ++i) {
        SCOPED_TRACE(i);
        Instance host(plugin, report);
        ASSERT_EQ(host.Open(server.Serve(handlers[i]), kDecode), 1);
        ASSERT_EQ(host.Next(), 1);
        EXPECT_EQ(host.Seek(18000), 0);
        EXPECT_EQ(report.Take(kError), // the first four promise nothing
                  i < 4 ? "" : "Error SetPosition returned false.  [SetPosition]\r\n");
        EXPECT_EQ(host.Rest(), Part(16384));
    }
}

TEST_F(StreamTest, ARangeBeginsAtItsFirstFrameWhateverTheServerCan)
{
    const std::string urls[] = {
        server.Serve(Counted(kFile)), server.Serve(Ranged(kFile)),
        server.Serve(Ranged(kFile, [](size_t) { return Counted(kFile); }))}; // promises ranges
    const std::tuple<int64_t, int64_t, size_t, size_t> cases[] = {
        // range, and what it holds
        {0, -1, 0, kFrames}, {20000, 20010, 20000, 20010},      {100, 36000, 100, 36000},
        {-7, 3, 0, 3},       {INT64_MAX, -1, kFrames, kFrames}, {37490, INT64_MAX, 37490, kFrames},
        {20, 10, 20, 20}};
    for (const std::string& url : urls)
        for (const auto& [start, end, from, to] : cases) {
            SCOPED_TRACE(url + " from " + std::to_string(start));
            Instance host(plugin);
            ASSERT_EQ(host.Range(start, end), 1);
            ASSERT_EQ(host.Open(url, kDecode), 1);
            EXPECT_EQ(host.open.AudioInfo.nLengthBytes, static_cast<int64_t>(to - from) * 4);
            EXPECT_EQ(host.Rest(), Part(from, to));
        }
    std::string sought; // a long way to the range is, where the server can
    for (const std::string& request : server.Requests())
        if (const long first = FirstByteOf(request); first >= 0)
            sought += std::to_string(first) + " ";
    EXPECT_EQ(sought, "80046 150006 80046 150006 ");
    Instance host(plugin, report); // the stream ends before the range begins
    ASSERT_EQ(host.Range(30000, -1), 1);
    EXPECT_EQ(host.Open(server.Serve(Answer("", Front(kFile, 100000))), kDecode), 0);
    EXPECT_EQ(report.Take(kError),
              Lines("Error reading data from file.  [PrepareToDecodeAudio]\n"));
}

// What comes of opening, with limits that tests can wait for.
constexpr NetLimits kShort = {milliseconds(400), milliseconds(250), milliseconds(1000)};
XStr Opening(const std::string& url)
{
    XFileHTTPStream stream(kShort);
    return stream.Open(Wide(url).c_str()) ? L"opened" : stream.OpenFault();
}

// Sends bytes in pieces with a pause before each.
Peer& Drip(Peer& peer, const Bytes& bytes, size_t piece = 1)
{
    for (size_t i = 0; i < bytes.size(); i += piece) {
        std::this_thread::sleep_for(milliseconds(40));
        peer.Send(Front(From(bytes, i), std::min(piece, bytes.size() - i)));
    }
    return peer;
}

TEST(StreamLimits, ASilentServerIsGivenUpAndSoIsASlowOne)
{
    ScriptServer server;
    const XStr slow = L"the server is too slow";
    const std::pair<Handler, XStr> opens[] = {
        {[](Peer& peer) { peer.Stall(); }, L"time-out while waiting for the server"},
        {[](Peer& peer) { Drip(peer, Bytes(40)); }, slow},
        {[](Peer& peer) { Drip(peer, Answer("Location: ?\r\n", {}, "302 F"), 5); }, slow}};
    for (const auto& [handler, fault] : opens)
        EXPECT_EQ(Opening(server.Serve(handler)), fault);

    const Bytes bytes = Noise(1000), more = From(bytes, 300);
    const Bytes begin = Answer("Accept-Ranges: bytes\r\n" + Length(1000), Front(bytes, 300));
    const std::pair<Handler, StreamFault> reads[] = {
        {[begin](Peer& peer) { peer.Send(begin).Stall(); }, StreamFault::IdleTimeout},
        {[begin, more](Peer& peer) { Drip(peer.Send(begin), Front(more, 9)); },
         StreamFault::EndedEarly},
        {[begin, more](Peer& peer) { Drip(peer.Send(begin), Front(more, 40)); },
         StreamFault::TooSlow}};
    for (const auto& [handler, fault] : reads) {
        XFileHTTPStream stream(kShort);
        const std::string url = server.Serve([bytes, first = handler](Peer& peer) {
            (peer.FirstByte() < 0 ? first : Ranged(bytes))(peer);
        });
        ASSERT_TRUE(stream.Open(Wide(url).c_str()));
        EXPECT_TRUE(stream.FromInterent() && stream.Size() == 1000);
        Bytes part(1000);
        const size_t count = stream.Read(part);
        EXPECT_TRUE(count >= 300 && count < 350 && stream.Position() == int64_t(count));
        EXPECT_EQ(stream.Fault(), fault);
        EXPECT_EQ(stream.Read(part), 0u);
        stream.StartStep();
        ASSERT_TRUE(stream.SetPosition(stream.Position())) << "asks again";
        EXPECT_EQ(stream.Read(part), 1000 - count);
    }
}

TEST(StreamLimits, EveryBlockAndSeekHasTimeOfItsOwn)
{
    ScriptServer server;
    // A block takes a quarter of a second, the file and the way to its last blocks more than one.
    const Bytes file = AiffBuilder().Comm(2, 16, 44100).Ssnd(Noise(450000));
    const Handler drips = [file](Peer& peer) { Drip(peer, Counted(file), 12000); };
    const std::pair<Handler, int64_t> cases[] = {{drips, 0}, {drips, 90000}, {Ranged(file), 0}};
    for (const auto& [handler, start] : cases) {
        XFileHTTPStream stream(kShort);
        ASSERT_TRUE(stream.Open(Wide(server.Serve(handler)).c_str()));
        clsStreamingwavedecoder decoder;
        STQvAudioInfo info;
        STQvAudioBlock block = {};
        EXPECT_TRUE(decoder.Initialize(stream, {}, start, -1));
        EXPECT_TRUE(decoder.PrepareToDecodeAudio(&info));
        while (block.nLastBlock == 0)
            ASSERT_TRUE(decoder.DecodeBlock(&block));
        const NTag list = Decoded(decoder.FillAudioProps(L"ID3")->View());
        EXPECT_TRUE(list.GetTagValue(L"ID Tag") == L"ID3" &&
                    list.GetTagValue(L"Contains") == L"ID Tag [ID3]");
        if (stream.IsSeekable())
            std::this_thread::sleep_for(kShort.step);
        EXPECT_EQ(decoder.SetPosition(1), stream.IsSeekable());
    }
}

TEST(StreamLimits, AllAddressesOfAHostAreTried)
{
    // A full queue lets further connections wait for ever.
    sockaddr_in place;
    std::vector<FileDescriptor> taken;
    taken.push_back(Listen(place, 0));
    for (int i = 0; i < 8; ++i) {
        taken.push_back(OpenSocket(AF_INET));
        (void)connect(taken.back().Get(), reinterpret_cast<sockaddr*>(&place), sizeof place);
    }
    std::this_thread::sleep_for(milliseconds(50));

    ScriptServer server;
    const auto at = [](int port) { return std::pair("127.0.0.1"s, std::to_string(port)); };
    const auto refusing = at(1), silent = at(ntohs(place.sin_port)), good = at(server.Port());
    const std::string url = server.Serve(Counted(kFile), "many.test");
    const std::pair<decltype(manyAddresses), XStr> cases[] = {
        {{{"::1", "1"}, refusing, silent, refusing, good}, L"opened"},
        {{refusing, silent}, L"time-out while connecting"},
        {{refusing, refusing}, L"connection refused"}};
    for (const auto& [addresses, outcome] : cases) {
        manyAddresses = addresses;
        EXPECT_EQ(Opening(url), outcome);
    }
}

} // namespace
