// Seeking in streams, decode ranges, and the limits on a server's patience.

#include "StreamHarness.h"
#include "decode/StreamingDecoder.h"

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
    Instance instance(plugin);
    ASSERT_EQ(instance.Open(server.Serve(Ranged(kFile)), kDecode), 1);
    // Where to, where that is, and the request for it; none where none is needed.
    const std::tuple<int64_t, size_t, std::string> cases[] = {
        {18000, 18000, "72046-"}, {0, 0, "46-"},      {37501, 37501, "150050-"}, {1, 1, "50-"},
        {INT64_MIN, 0, "46-"},    {16384, 16384, ""}, {37502, 37502, ""},        {99, 99, "442-"},
        {INT64_MAX, 37502, ""}};
    for (const auto& [frame, lands, range] : cases) {
        SCOPED_TRACE(frame);
        const size_t before = server.Requests().size();
        ASSERT_EQ(instance.Seek(frame), 1);
        const std::vector<std::string> requests = server.Requests();
        ASSERT_EQ(requests.size() - before, range.empty() ? 0u : 1u);
        const std::string line = "\r\nRange: bytes=" + range + "\r\n\r\n";
        if (!range.empty())
            EXPECT_TRUE(requests.back().ends_with(line)) << requests.back();
        EXPECT_EQ(instance.Next(), 1);
        EXPECT_EQ(instance.block.nPositionMS, static_cast<int64_t>(lands * 4000 / 176400));
        EXPECT_EQ(instance.Data(), Part(lands, std::min(lands + 16384, kFrames)));
    }
    // A sound chunk without a size has no audio where the stream's size is known.
    const Bytes empty = AiffBuilder().Comm(2, 16, 44100).Ssnd(kSamples, 0).Build();
    ASSERT_EQ(instance.Open(server.Serve(Ranged(empty)), kDecode), 1);
    EXPECT_EQ(instance.open.AudioInfo.nLengthBytes, 0);
    // The pad byte of an odd chunk before the sound counts.
    const Bytes odd = Join({Big(2, 2), Big(0, 4), Big(16, 2), Extended(44100), Bytes(1)});
    const Bytes file = AiffBuilder().Chunk("COMM", odd).Ssnd(kSamples).Build();
    ASSERT_EQ(instance.Open(server.Serve(Ranged(file)), kDecode), 1);
    ASSERT_EQ(instance.Seek(30000), 1);
    EXPECT_EQ(instance.Rest(), Part(30000));
}

TEST_F(StreamTest, LeavesDecodingWhereItWasWhenTheServerCannotOrDoesNotDoIt)
{
    const size_t size = kFile.size();
    const Bytes rest = From(kFile, 72046);
    const Bytes proper = Partial(72046, size - 1, size, rest);
    const std::string ranges = "Accept-Ranges: bytes\r\n";
    const Bytes tagged = Answer(ranges + "ETag: \"v1\"\r\n" + Length(size), kFile);
    const Handler replaced = [tagged, proper](Peer& peer) {
        const bool isTold = peer.request.find("\r\nIf-Range: \"v1\"\r\n") != std::string::npos;
        peer.Send(isTold || peer.FirstByte() < 0 ? tagged : proper);
    };
    const auto promised = [](const Bytes& answer) {
        return Ranged(kFile, [answer](size_t) { return answer; });
    };
    const std::string error = "Error SetPosition returned false.  [SetPosition]\r\n";
    const std::tuple<const char*, Handler, std::string> cases[] = {
        {"everything", promised(Counted(kFile)), error},
        {"another begin", promised(Partial(72045, size - 1, size, rest)), error},
        {"another end", promised(Partial(72046, size - 2, size, rest)), error},
        {"another total", promised(Partial(72046, size, size + 1, rest)), error},
        {"another length", promised(Partial(72046, size - 1, size, rest, Length(7))), error},
        {"status 200", promised(Answer("Content-Range: bytes 72046-150053/*\r\n", rest)), error},
        {"no range", promised(Answer("", rest, "206 P")), error},
        {"redirect", promised(Answer("Location: /0/\r\n", {}, "302 F")), error},
        {"nothing", promised({}), error},
        {"a file replaced meanwhile", replaced, error},
        {"no word of ranges", Sends(Counted(kFile)), ""},
        {"no ranges", Sends(Answer("Accept-Ranges: none\r\n" + Length(size), kFile)), ""},
        {"no size", Sends(Answer(ranges, kFile)), ""},
        {"chunked", Sends(Chunked(kFile, ranges)), ""}};
    for (const auto& [name, handler, expected] : cases) {
        SCOPED_TRACE(name);
        Instance instance(plugin, report);
        ASSERT_EQ(instance.Open(server.Serve(handler), kDecode), 1);
        ASSERT_EQ(instance.Next(), 1);
        EXPECT_EQ(instance.Seek(18000), 0);
        EXPECT_EQ(report.Take(kError), expected);
        EXPECT_EQ(instance.Rest(), Part(16384));
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
            Instance instance(plugin);
            ASSERT_EQ(instance.Range(start, end), 1);
            ASSERT_EQ(instance.Open(url, kDecode), 1);
            EXPECT_EQ(instance.open.AudioInfo.nLengthBytes, static_cast<int64_t>(to - from) * 4);
            EXPECT_EQ(instance.Rest(), Part(from, to));
        }
    std::string sought; // a long way to the range is, where the server can
    for (const std::string& request : server.Requests())
        if (const long first = FirstByteOf(request); first >= 0)
            sought += std::to_string(first) + " ";
    EXPECT_EQ(sought, "80046 150006 80046 150006 ");
    Instance instance(plugin, report); // the stream ends before the range begins
    ASSERT_EQ(instance.Range(30000, -1), 1);
    EXPECT_EQ(instance.Open(server.Serve(Answer("", Front(kFile, 100000))), kDecode), 0);
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

// Sends single bytes with a pause before each.
void Drip(Peer& peer, int count, int pause)
{
    for (int i = 0; i < count; ++i) {
        std::this_thread::sleep_for(milliseconds(pause));
        peer.Send(Text("x"));
    }
}

TEST(StreamLimits, ASilentServerIsGivenUpAndASlowOneIsNot)
{
    ScriptServer server;
    const XStr silent = L"time-out while waiting for the server";
    EXPECT_EQ(Opening(server.Serve([](Peer& peer) { peer.Stall(); })), silent);
    const auto redirects = [](Peer& peer) {
        Drip(peer.Send(Text("HTTP/1.1 302 F\r\nX: ")), 5, 50);
        peer.Send(Text("\r\nLocation: ?\r\n\r\n"));
    };
    for (const Handler& slow :
         {Handler([](Peer& peer) { Drip(peer, 30, 50); }), Handler(redirects)})
        EXPECT_EQ(Opening(server.Serve(slow)), L"the server is too slow");

    const Bytes bytes = Noise(1000);
    const Bytes begin = Answer("Accept-Ranges: bytes\r\n" + Length(1000), Front(bytes, 300));
    const auto dripping = [begin](int count) {
        return [begin, count](Peer& peer) { Drip(peer.Send(begin), count, 30); };
    };
    const std::pair<Handler, StreamFault> cases[] = {
        {[begin](Peer& peer) { peer.Send(begin).Stall(); }, StreamFault::IdleTimeout},
        {dripping(12), StreamFault::EndedEarly},
        {dripping(50), StreamFault::TooSlow}};
    for (const auto& [handler, fault] : cases) {
        XFileHTTPStream stream(kShort);
        ASSERT_TRUE(stream.Open(Wide(server.Serve([&, first = handler](Peer& peer) {
                                    if (peer.FirstByte() < 0)
                                        return first(peer);
                                    const auto at = static_cast<size_t>(peer.FirstByte());
                                    peer.Send(Partial(at, 999, 1000, From(bytes, at)));
                                })).c_str()));
        EXPECT_TRUE(stream.FromInterent());
        EXPECT_EQ(stream.Size(), 1000);
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

TEST(StreamLimits, EveryBlockHasTimeOfItsOwn)
{
    ScriptServer server;
    XFileHTTPStream stream(kShort);
    ASSERT_TRUE(stream.Open(Wide(server.Serve([](Peer& peer) {
                                const Bytes all = Counted(kFile);
                                for (size_t i = 0; i < all.size(); i += 10000) {
                                    peer.Send(
                                        Front(From(all, i), std::min(all.size() - i, 10000ul)));
                                    std::this_thread::sleep_for(milliseconds(80));
                                }
                            })).c_str()));
    clsStreamingwavedecoder decoder;
    STQvAudioInfo info;
    STQvAudioBlock block = {};
    EXPECT_TRUE(decoder.Initialize(stream, {}, 0, -1) && decoder.PrepareToDecodeAudio(&info));
    while (block.nLastBlock == 0)
        ASSERT_TRUE(decoder.DecodeBlock(&block));
    const XMem* const props = decoder.FillAudioProps(L"ID3");
    const NTag list = Decoded({props->Data(), props->Used()});
    EXPECT_TRUE(list.GetTagValue(L"ID Tag") == L"ID3" &&
                list.GetTagValue(L"Contains") == L"ID Tag [ID3]");
}

TEST(StreamLimits, AllAddressesOfAHostAreTried)
{
    // A full queue lets further connections wait for ever.
    sockaddr_in place;
    std::vector<int> taken = {Listen(place, 0)};
    for (int i = 0; i < 8; ++i) {
        taken.push_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        (void)connect(taken.back(), reinterpret_cast<sockaddr*>(&place), sizeof place);
    }
    std::this_thread::sleep_for(milliseconds(50));

    ScriptServer server;
    const auto at = [](int port) { return std::pair("127.0.0.1"s, std::to_string(port)); };
    const auto refusing = at(1), silent = at(ntohs(place.sin_port)), good = at(server.Port());
    const std::string url = server.Serve(Counted(kFile), "many.test");
    manyAddresses = {{"::1", "1"}, refusing, silent, refusing, good};
    EXPECT_EQ(Opening(url), L"opened");
    manyAddresses = {refusing, silent};
    EXPECT_EQ(Opening(url), L"time-out while connecting");
    manyAddresses = {refusing, refusing};
    EXPECT_EQ(Opening(url), L"connection refused");
    for (const int fd : taken)
        close(fd);
}

} // namespace
