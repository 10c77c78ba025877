// aiffconv check: a clean file, and the same file with one thing changed.

#include "HostHarness.h"
#include "support/AiffBuilder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace
{

using Json = nlohmann::json;

AiffBuilder Good()
{
    AiffBuilder file;
    return file.Chunk("NAME", Noise(3, 1)).Comm(2, 16, 44100).Ssnd(Noise(400, 1));
}

const Bytes kEmptyTag = Join({Text("ID3"), {4, 0, 0, 0, 0, 0, 10}, Bytes(10)});

Bytes Changed(Bytes file, size_t position, uint8_t value)
{
    file[position] = value;
    return file;
}

Bytes Cut(Bytes file, size_t bytes)
{
    file.resize(file.size() - bytes);
    return file;
}

TEST(Check, NamesTheOneThingThatIsIrregular)
{
    const Bytes version = Join({Text("FVER"), Big(4, 4), Big(0xA2805140, 4)});
    AiffBuilder shortPad;
    shortPad.Chunk("NAME", Noise(3, 1), {}, false).Comm(2, 16, 44100).Ssnd(Noise(400, 1));
    AiffBuilder noFormat, noSound, aifc, twice, noVersion;
    // Positions of Good(): NAME 12, its pad byte 23, COMM 24, frames 34, SSND 50, offset 58.
    struct Case {
        Bytes file;
        const char* finding; // empty: clean
    };
    const Case cases[] = {
        {Good().Build(), ""},
        {Good().Chunk("ID3 ", kEmptyTag).Build(), ""},
        {aifc.Chunk("FVER", Big(0xA2805140, 4)).Comm(1, 8, 8000, "NONE").Ssnd(Noise(9, 1)).Build(),
         ""},
        {Good().Tail(Noise(10, 1)).Build(), "has 10 bytes behind the end of its form"},
        {Cut(Good().Build(), 4), "is cut off: its form lacks 4 bytes at the end"},
        {Good().FormCode("form").Build(), "begins with 'form' in place of 'FORM'"},
        {Changed(Good().Build(), 11, 'X'), "is a form of type 'AIFX', neither 'AIFF' nor 'AIFC'"},
        {Good().FormSize(0).Build(), "was never finished: its form says that it is empty"},
        {shortPad.Build(),
         "lacks the pad byte behind the chunk 'NAME' at byte 12, which has an odd size"},
        {Changed(Good().Build(), 23, 7),
         "has a pad byte that is not zero, behind the chunk 'NAME' at byte 12"},
        {Good().Chunk("AUTH", Noise(3, 1), {}, false).Build(),
         "ends without the pad byte of its last chunk 'AUTH'"},
        {Good().Chunk("AUTH", Noise(4, 1), 1000).Build(),
         "has a chunk 'AUTH' at byte 466 that claims 1000 bytes where 4 are left"},
        {Changed(Good().Build(), 37, 99),
         "counts 99 sample frames in its COMM chunk and holds 100 in its SSND chunk"},
        {Changed(Good().Build(), 61, 4),
         "has its samples 4 bytes into its SSND chunk, which some readers ignore"},
        {Changed(Good().Build(), 33, 0), "has an impossible format: 0 channels, 16 bits"},
        {Changed(Good().Build(), 40, 0xC0), "has an impossible sample rate"},
        {noFormat.Ssnd(Noise(4, 1)).Build(), "has no COMM chunk, so its audio format is unknown"},
        {noVersion.Comm(1, 8, 8000, "NONE").Ssnd({}).Build(), "is AIFF-C and has no FVER chunk"},
        {twice.Chunk("FVER", Big(0, 4)).Comm(1, 8, 8000, "QDM2").Ssnd({}).Build(),
         "has an unknown compression 'QDM2'"},
        {Good().Chunk("SSND", Bytes(8)).Build(), "has 2 SSND chunks, where one is allowed"},
        {Good().Chunk("comm", Bytes(18)).Build(), "has a COMM or SSND chunk in lower-case letters"},
        {Good().Chunk("ID3 ", kEmptyTag).Chunk("id3 ", kEmptyTag).Build(), "has 2 tag chunks"},
        {Good().Chunk("ID3 ", Noise(30, 1)).Build(), "has no ID3v2 tag in its tag chunk"},
        {Good().Chunk("ID3 ", {}).Build(), "has an empty tag chunk"},
        {Good().Chunk("ID3 ", Changed(kEmptyTag, 9, 90)).Build(),
         "has a tag of 100 bytes in a chunk of 20"},
    };
    const Workplace place;
    for (const Case& row : cases) {
        place.Write("in.aiff", {row.file.begin(), row.file.end()});
        const std::string finding = row.finding;
        const Outcome run = place.Run("@ check in.aiff --json");
        EXPECT_EQ(run.exitCode, finding.empty() ? 0 : 4) << finding;
        const Json line = Json::parse(run.out);
        EXPECT_EQ(line["status"], finding.empty() ? "clean" : "irregular");
        bool found = finding.empty() && line["findings"].empty();
        for (const std::string text : line["findings"])
            found |= !finding.empty() && text.starts_with(finding);
        EXPECT_TRUE(found) << finding << run.out;
    }
}

TEST(Check, SurvivesEveryCutAndTellsUnreadableFiles)
{
    const Workplace place;
    const Bytes file = Good().Chunk("ID3 ", kEmptyTag).Build();
    std::string names;
    for (size_t size = 1; size < file.size(); size += 7) {
        place.Write("cut" + std::to_string(size),
                    {file.begin(), file.begin() + static_cast<ptrdiff_t>(size)});
        names += " cut" + std::to_string(size);
    }
    place.Write("good", {file.begin(), file.end()});
    const Outcome run = place.Run("@ check -q" + names + " good none");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("cut8: is too short to be an AIFF file"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("none: No such file"), std::string::npos);
    EXPECT_NE(run.out.find("cut484: irregular\n  is cut off: its form lacks 10 bytes"),
              std::string::npos)
        << run.out;
    EXPECT_EQ(run.out.find("clean"), std::string::npos);
    EXPECT_EQ(place.Run("@ check good").out, "good: clean\n");
}

} // namespace
