// SPDX-License-Identifier: MIT

// Streams through aiffconv: what the file gives, byte for byte, or the word that it does not.

#include "HostHarness.h"
#include "http/ScriptServer.h"

namespace
{

// How a server may answer: with ranges, with a length only, or with neither.
Handler Answering(int way, const Bytes& file)
{
    return way == 0 ? Ranged(file) : Sends(way == 1 ? Counted(file) : Chunked(file));
}

TEST(Streams, GiveWhatTheFileGives)
{
    const Workplace place;
    ScriptServer server;
    std::filesystem::create_directory(place.Path("in"));
    std::string urls, names;
    for (const int bits : {8, 16, 24, 32})
        for (int channels = 1; channels <= 8; ++channels)
            for (const std::string code : {"", "NONE", "sowt"}) {
                const std::string name =
                    std::to_string(bits) + "-" + std::to_string(channels) + code + ".aiff";
                const auto size = static_cast<size_t>(20001 * channels * bits / 8);
                const Bytes file = Aiff(channels, bits, Noise(size), code);
                place.Write("in/" + name, file);
                urls += " " + server.Serve(Answering((bits / 8 + channels) % 3, file)) + name;
                names += " in/" + name;
            }
    for (const std::string options :
         {"", " --start 9001f --end 20000f", " --start 0.1 --end 1:00", " --end 7f"})
        place.Run("@ convert" + names + " -o files/ --overwrite" + options + " && @ convert" +
                  urls + " -o streams/ --overwrite" + options + " && diff -r files streams");
    const Json files = Json::parse(place.Run("@ info --json" + names).out);
    const Json streams = Json::parse(place.Run("@ info --json" + urls).out);
    for (size_t i = 0; i < files.size(); ++i)
        for (const char* key : {"format", "length"})
            EXPECT_EQ(files[i][key], streams[i][key]) << files[i]["file"];
    Json properties = files[0]["properties"];
    EXPECT_EQ(properties.erase("Riff Chunks"), 1u);
    EXPECT_EQ(properties, streams[0]["properties"]);
}

TEST(Streams, ThatBreakOffAreDamagedAndSayWhy)
{
    const Workplace place;
    const Bytes pcm = Noise(100002), file = Aiff(2, 24, pcm);
    const Bytes live = AiffBuilder().Comm(2, 24, 44100).Ssnd(pcm, 0).FormSize(0x7FFFFFFF);
    const std::string all = Length(file.size()), chunked = "Transfer-Encoding: chunked\r\n",
                      ended = "breaks off: the connection ended before the data",
                      improper = "breaks off: the server does not answer in proper HTTP";
    const auto inChunks = [&](const Bytes& bytes, const std::string& next) {
        return Sends(Answer(chunked, Join({Text("14000\r\n"), Front(bytes, 0x14000), Text(next)})));
    };
    const Handler reset = [&](Peer& peer) {
        peer.Send(Answer(all, Front(file, 50000)));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        peer.Reset();
    };
    // How many bytes there are to be had, and what is said then.
    const std::tuple<Handler, size_t, std::string> cases[] = {
        {Sends(Answer(all, Front(file, 90000))), 90000, ended},
        {Sends(Answer(all, Front(file, 100))), 100, ended},
        {Sends(Answer(all, Front(file, 54))), 54, ended},
        {Sends(Answer("", Front(file, 90000))), 90000,
         "cannot be read to the end of its sound data"},
        {Sends(Counted(Front(file, 90000))), 90000, "is cut off: its sound data is shorter"},
        {inChunks(file, ""), 0x14000, ended},
        {inChunks(file, "\r\nz"), 0x14000, improper},
        {reset, 50000, "breaks off: connection lost"},
        {Sends(Answer("", live)), live.size(), ""},
        {Sends(Answer("", Front(live, 90001))), 90001, "ends within a sample frame"},
        {inChunks(live, "\r\nz"), 0x14000, improper}};
    ScriptServer server;
    for (const auto& [handler, bytes, said] : cases) {
        SCOPED_TRACE(said + " " + std::to_string(bytes));
        place.Run("@ convert " + server.Serve(handler) + " -o out.wav --overwrite --no-tags",
                  said.empty() ? 0 : 4, said);
        EXPECT_EQ(Values(place, "out.wav").size(), (bytes - 54) / 6 * 2);
    }
    for (const auto& [bytes, said] : {std::pair(Front(file, 5), ended), {Front(file, 30), ended}})
        place.Run("@ convert " + server.Serve(Answer(all, bytes)) + " -o none.wav --no-fetch", 1,
                  said);
}

TEST(Streams, OfUnknownLengthAreTakenUntilTheyEnd)
{
    const Workplace place;
    const Bytes pcm = Noise(3 * 65536);
    // A sound chunk of size 0 in an answer without a length has no known end.
    const Bytes live = AiffBuilder().Comm(1, 16, 44100).Ssnd(pcm, 0).FormSize(0x7FFFFFFF);
    ScriptServer server;
    const std::string url = server.Serve(Answer("", live)) + "live.aiff";
    place.Run("@ convert " + url + " -o out.wav && @ convert " + url +
              " -o out.flac && @ convert " + url + " -o - >pipe.wav && @ convert " + url +
              " -o part.wav --start 4f --end 1000f");
    place.Write("same.aiff", Aiff(1, 16, pcm));
    std::vector<int32_t> samples = Values(place, "same.aiff");
    for (const char* name : {"out.wav", "out.flac", "pipe.wav"})
        EXPECT_EQ(Values(place, name), samples) << name;
    EXPECT_EQ(place.Read("pipe.wav").substr(4, 4), "\xFF\xFF\xFF\xFF");
    EXPECT_EQ(place.Read("out.wav").substr(104), place.Read("pipe.wav").substr(104));
    samples = {samples.begin() + 4, samples.begin() + 1000};
    EXPECT_EQ(Values(place, "part.wav"), samples);
    place.Run("@ info " + url, 0, "unknown");
    EXPECT_TRUE(Json::parse(place.Run("@ info --json " + url).out)[0]["length"].is_null());
    place.Run("@ convert " + server.Serve(Answer("", {}, "404 Gone")) + " -o none.wav", 1,
              "status 404");
}

} // namespace
