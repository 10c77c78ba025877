// Seeking in streams, decode ranges, and the limits on a server's patience.

#include "ScriptServer.h"
#include "support/PluginDriver.h"
#include "support/XFileHTTPStream.h"

#include <netdb.h>
#include <sys/socket.h>

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
using F = StreamFault;

constexpr uint32_t kDecode = QV_OPEN_PREPARE_DECODE | QV_OPEN_AUDIO_INFO;
constexpr size_t kDataStart = 46;

const Bytes kSamples = Noise(400000);
const Bytes kFile = AiffBuilder().Comm(2, 16, 44100).Ssnd(kSamples).Build();
const Bytes kHeard = HostOrder(Join({Bytes(8), kSamples}), 16);

// The audio from one frame of the stream to another.
Bytes Heard(size_t from, size_t to = kHeard.size() / 4)
{
    return From(Front(kHeard, to * 4), from * 4);
}

class SeekTest : public PluginTest
{
protected:
    ScriptServer server;
};

TEST_F(SeekTest, AServerOfRangesIsAskedForTheRest)
{
    Instance instance(plugin);
    ASSERT_EQ(instance.Open(server.Serve(Ranged(kFile)), kDecode), 1);
    struct Case {
        int64_t frame;
        size_t lands;
        const char* request; // empty: none is needed
    };
    const Case cases[] = {
        {30000, 30000, "120046-"},   {0, 0, "46-"},
        {100001, 100001, "400050-"}, {1, 1, "50-"},
        {INT64_MIN, 0, "46-"},       {16384, 16384, ""},
        {100002, 100002, ""},        {99, 99, "442-"},
        {INT64_MAX, 100002, ""},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.frame);
        const size_t before = server.Requests().size();
        ASSERT_EQ(instance.Seek(row.frame), 1);
        const std::vector<std::string> requests = server.Requests();
        ASSERT_EQ(requests.size() - before, *row.request != 0 ? 1u : 0u);
        EXPECT_TRUE(
            *row.request == 0 ||
            requests.back().ends_with("\r\nRange: bytes=" + std::string(row.request) + "\r\n\r\n"))
            << requests.back();
        EXPECT_EQ(instance.Next(), 1);
        EXPECT_EQ(instance.block.nPositionMS, static_cast<int64_t>(row.lands * 4000 / 176400));
        EXPECT_EQ(instance.Data(), Heard(row.lands, std::min<size_t>(row.lands + 16384, 100002)));
    }
    // A sound chunk without a size has no audio where the stream's size is known.
    const Bytes empty = AiffBuilder().Comm(2, 16, 44100).Ssnd(kSamples, 0).Build();
    ASSERT_EQ(instance.Open(server.Serve(Ranged(empty)), kDecode), 1);
    EXPECT_EQ(instance.open.AudioInfo.nLengthBytes, 0);
    // The pad byte of an odd chunk before the sound counts.
    const Bytes odd = Join({Big(2, 2), Big(0, 4), Big(16, 2), Extended(44100), Bytes(1)});
    const Bytes file = AiffBuilder().Chunk("COMM", odd).Ssnd(kSamples).Build();
    ASSERT_EQ(instance.Open(server.Serve(Ranged(file)), kDecode), 1);
    ASSERT_EQ(instance.Seek(100000), 1);
    EXPECT_EQ(instance.Rest(), Heard(100000));
}

TEST_F(SeekTest, AWrongAnswerLeavesDecodingWhereItWas)
{
    const size_t size = kFile.size();
    const Bytes rest = From(kFile, 120046);
    const std::pair<const char*, Bytes> answers[] = {
        {"everything", Counted(kFile)},
        {"another begin", Partial(120045, size - 1, size, rest)},
        {"another end", Partial(120046, size - 2, size, rest)},
        {"another total", Partial(120046, size, size + 1, rest)},
        {"another length", Partial(120046, size - 1, size, rest, Length(7))},
        {"no range", Answer("", rest, "HTTP/1.1 206 P")},
        {"redirect", Answer("Location: /0/\r\n", {}, "HTTP/1.1 302 F")},
        {"nothing", {}},
    };
    for (const auto& [name, answer] : answers) {
        SCOPED_TRACE(name);
        Instance instance(plugin, report);
        const Handler handler = Ranged(kFile, [given = answer](size_t) { return given; });
        ASSERT_EQ(instance.Open(server.Serve(handler), kDecode), 1);
        ASSERT_EQ(instance.Next(), 1);
        EXPECT_EQ(instance.Seek(30000), 0);
        EXPECT_EQ(report.Take(kError), Lines("Error SetPosition returned false.  [SetPosition]\n"));
        EXPECT_EQ(instance.Rest(), Heard(16384));
    }
}

TEST_F(SeekTest, AServerWithoutRangesOrSizeCannotSeek)
{
    const std::string ranges = "Accept-Ranges: bytes\r\n";
    const Bytes answers[] = {Counted(kFile), Answer(ranges, kFile), Chunked(kFile, ranges),
                             Answer("Accept-Ranges: none\r\n" + Length(kFile.size()), kFile)};
    for (const Bytes& answer : answers) {
        Instance instance(plugin, report);
        ASSERT_EQ(instance.Open(server.Serve(answer), kDecode), 1);
        EXPECT_EQ(instance.Seek(10), 0);
        EXPECT_EQ(report.Take(kError), "");
        EXPECT_EQ(instance.Rest(), kHeard);
    }
}

TEST_F(SeekTest, ARangeBeginsAtItsFirstFrameWhateverTheServerCan)
{
    const std::string urls[] = {
        server.Serve(Counted(kFile)), server.Serve(Ranged(kFile)),
        server.Serve(Ranged(kFile, [](size_t) { return Counted(kFile); }))}; // promises ranges
    struct Case {
        int64_t start, end;
        size_t from, to;
    };
    const Case cases[] = {
        {0, -1, 0, 100002}, {50000, 50010, 50000, 50010},    {100, 70000, 100, 70000},
        {-7, 3, 0, 3},      {INT64_MAX, -1, 100002, 100002}, {99990, INT64_MAX, 99990, 100002},
        {20, 10, 20, 20}};
    for (const std::string& url : urls)
        for (const Case& row : cases) {
            SCOPED_TRACE(url + " from " + std::to_string(row.start));
            Instance instance(plugin);
            ASSERT_EQ(instance.Range(row.start, row.end), 1);
            ASSERT_EQ(instance.Open(url, kDecode), 1);
            EXPECT_EQ(instance.open.AudioInfo.nLengthBytes,
                      static_cast<int64_t>(row.to - row.from) * 4);
            if (row.from != row.to) {
                EXPECT_EQ(instance.Rest(), Heard(row.from, row.to));
            } else {
                EXPECT_EQ(instance.Next(), 1);
                EXPECT_EQ(instance.block.nLastBlock, 1);
            }
        }
    const std::vector<std::string> requests = server.Requests();
    EXPECT_EQ(std::count_if(requests.begin(), requests.end(),
                            [](const std::string& text) {
                                return text.find("Range: bytes=200046-") != std::string::npos;
                            }),
              2)
        << "a long way to the range is sought where the server can";
    Instance instance(plugin, report); // the stream ends before the range begins
    ASSERT_EQ(instance.Range(50000, -1), 1);
    EXPECT_EQ(instance.Open(server.Serve(Answer("", Front(kFile, 100000))), kDecode), 0);
    EXPECT_EQ(report.Take(kError),
              Lines("Error reading data from file.  [PrepareToDecodeAudio]\n"));
}

TEST_F(SeekTest, AReplacedFileIsNotedByItsTag)
{
    Instance instance(plugin);
    const std::string tagged = "Accept-Ranges: bytes\r\nETag: \"v1\"\r\n" + Length(kFile.size());
    ASSERT_EQ(instance.Open(server.Serve(Answer(tagged, kFile)), kDecode), 1);
    EXPECT_EQ(instance.Seek(20000), 0);
    EXPECT_NE(server.Requests().back().find("\r\nIf-Range: \"v1\"\r\n"), std::string::npos);
}

// --- The stream itself, with limits that tests can wait for ---

constexpr STNetLimits kShort = {milliseconds(400), milliseconds(200), milliseconds(500)};

XStr FaultOfOpening(const std::string& url)
{
    XFileHTTPStream stream(kShort);
    return stream.Open(Wide(url).c_str()) ? L"opened" : stream.OpenFault();
}

TEST(StreamLimits, ASilentServerIsGivenUp)
{
    ScriptServer server;
    const XStr silent = L"time-out while waiting for the server";
    EXPECT_EQ(FaultOfOpening(server.Serve([](Peer& peer) { peer.Stall(); })), silent);
    const auto endlessHeader = [](Peer& peer) {
        for (int i = 0; i < 20; ++i) {
            peer.Send(Text("x"));
            std::this_thread::sleep_for(milliseconds(50));
        }
    };
    EXPECT_EQ(FaultOfOpening(server.Serve(endlessHeader)), silent);

    XFileHTTPStream stream(kShort);
    const std::string url =
        server.Serve([](Peer& peer) { peer.Send(Answer(Length(1000), Bytes(300))).Stall(); });
    ASSERT_TRUE(stream.Open(Wide(url).c_str()));
    EXPECT_TRUE(stream.FromInterent());
    EXPECT_EQ(stream.Size(), 1000);
    Bytes bytes(1000);
    EXPECT_EQ(stream.Read(bytes), 300u);
    EXPECT_EQ(stream.Fault(), F::IdleTimeout);
    EXPECT_EQ(stream.Read(bytes), 0u);
    EXPECT_EQ(stream.Position(), 300);
}

TEST(StreamLimits, ASlowServerIsNotASilentOne)
{
    ScriptServer server;
    XFileHTTPStream stream(kShort);
    const std::string url = server.Serve([](Peer& peer) {
        peer.Send(Answer(Length(10), {}));
        for (int i = 0; i < 10; ++i) {
            std::this_thread::sleep_for(milliseconds(70));
            peer.Send(Text("x"));
        }
    });
    ASSERT_TRUE(stream.Open(Wide(url).c_str()));
    Bytes bytes(20);
    EXPECT_EQ(stream.Read(bytes), 10u);
    EXPECT_EQ(stream.Fault(), F::None);
}

TEST(StreamLimits, AllAddressesOfAHostAreTried)
{
    // A full queue lets further connections wait for ever.
    Loopback place;
    const int full = place.Listen(0);
    std::vector<int> queued(8);
    for (int& fd : queued) {
        fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        (void)connect(fd, place.Any(), place.size);
    }
    std::this_thread::sleep_for(milliseconds(50));

    ScriptServer server;
    const std::pair<std::string, std::string> silent = {"127.0.0.1", std::to_string(place.Port())};
    const std::pair<std::string, std::string> refusing = {"127.0.0.1", "1"};
    const std::pair<std::string, std::string> good = {"127.0.0.1", std::to_string(server.Port())};
    const std::string url = server.Serve(Counted(kFile), "many.test");
    manyAddresses = {{"::1", "1"}, refusing, silent, refusing, good};
    EXPECT_EQ(FaultOfOpening(url), L"opened");
    manyAddresses = {refusing, silent};
    EXPECT_EQ(FaultOfOpening(url), L"time-out while connecting");
    manyAddresses = {refusing, refusing};
    EXPECT_EQ(FaultOfOpening(url), L"connection refused");
    for (const int fd : queued)
        close(fd);
    close(full);
}

TEST(HttpStream, ALocalFileIsReadTheSameWay)
{
    TempDir dir;
    XFileHTTPStream stream;
    ASSERT_TRUE(stream.Open(Wide(dir.Write("a", kFile)).c_str()));
    EXPECT_FALSE(stream.FromInterent());
    EXPECT_TRUE(stream.IsSeekable());
    EXPECT_EQ(stream.Size(), static_cast<int64_t>(kFile.size()));
    ASSERT_TRUE(stream.SetPosition(kDataStart));
    Bytes bytes(8);
    EXPECT_EQ(stream.Read(bytes), 8u);
    EXPECT_EQ(stream.Position(), static_cast<int64_t>(kDataStart + 8));
    ASSERT_FALSE(stream.Open(L"http://127.0.0.1:1/"));
    EXPECT_FALSE(stream.FromInterent()) << "the last input that could be opened counts";
}

} // namespace
