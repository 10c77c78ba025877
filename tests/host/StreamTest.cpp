// Streams whose end is not known when they begin.

#include "HostHarness.h"
#include "http/ScriptServer.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace
{

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST(Convert, TakesStreamsUntilTheyEnd)
{
    const Workplace place;
    const Bytes noise = Noise(3 * 65536, 1);
    const std::string pcm(noise.begin(), noise.end());
    // A sound chunk of size 0 in an answer without a length has no known end. A stream's
    // sound begins with the eight bytes before the samples.
    std::string endless = Aiff(1, 16, pcm);
    endless.replace(4, 4, "\x7F\xFF\xFF\xFF");
    endless.replace(42, 4, std::string(4, '\0'));
    ScriptServer server;
    const std::string url = server.Serve(Answer("", Text(endless))) + "live.aiff";
    const std::string none = server.Serve(Answer("", {}, "HTTP/1.1 404 Gone")) + "x.aiff";
    const Outcome run = place.Run("@ convert " + url + " -o out.wav && @ convert " + url +
                                  " -o out.flac && @ convert " + url + " -o - >pipe.wav && " +
                                  "@ convert " + url + " -o part.wav --start 4f --end 1000f");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    place.Write("same.aiff", Aiff(1, 16, std::string(8, '\0') + pcm));
    std::vector<int32_t> samples = ReadSamples(place.Path("same.aiff")).values;
    samples.resize(pcm.size() / 2); // whole blocks; the rest ends within one
    for (const char* name : {"out.wav", "out.flac", "pipe.wav"})
        EXPECT_EQ(ReadSamples(place.Path(name)).values, samples) << name;
    EXPECT_EQ(place.Read("pipe.wav").substr(4, 4), "\xFF\xFF\xFF\xFF");
    EXPECT_EQ(place.Read("out.wav").substr(104), place.Read("pipe.wav").substr(104));
    EXPECT_EQ(ReadSamples(place.Path("part.wav")).values,
              std::vector<int32_t>(samples.begin() + 4, samples.begin() + 1000));
    EXPECT_TRUE(Contains(place.Run("@ info " + url).out, "unknown"));
    const auto json = nlohmann::json::parse(place.Run("@ info --json " + url).out);
    EXPECT_TRUE(json[0]["length"].is_null());
    const Outcome gone = place.Run("@ convert " + none + " -o none.wav");
    EXPECT_EQ(gone.exitCode, 1);
    EXPECT_TRUE(Contains(gone.err, "cannot be opened: status 404")) << gone.err;
}

} // namespace
