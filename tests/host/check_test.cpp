// SPDX-License-Identifier: MIT

// aiffconv check: a clean file, and the same file with one thing changed.

#include "HostHarness.h"

namespace
{

AiffBuilder Good()
{
    AiffBuilder file;
    return file.Chunk("NAME", Noise(3)).Comm(2, 16, 44100).Ssnd(Noise(400));
}

Bytes Changed(Bytes file, size_t position, uint8_t value)
{
    file[position] = value;
    return file;
}

TEST(Check, NamesTheOneThingThatIsIrregular)
{
    const Bytes tag = Join({Text("ID3"), {4, 0, 0, 0, 0, 0, 10}, Bytes(10)});
    const Bytes version = Big(0xA2805140, 4);
    const AiffBuilder tagged = Good().Chunk("ID3 ", tag);
    const auto aifc = [](const char* type) { return AiffBuilder().Comm(1, 8, 8000, type); };
    Bytes cut = Good();
    cut.resize(cut.size() - 4);
    // Positions of Good(): NAME 12, its pad byte 23, COMM 24, frames 34, SSND 50, offset 58.
    const std::pair<Bytes, const char*> cases[] = {
        {Good(), ""},
        {tagged, ""},
        {aifc("NONE").Chunk("FVER", version).Ssnd(Noise(9)), ""},
        {Good().Tail(Noise(10)), "has 10 bytes after the end of its form"},
        {cut, "is cut off: its form lacks 4 bytes at the end"},
        {Good().FormCode("form"), "begins with 'form' instead of 'FORM'"},
        {Changed(Good(), 11, 'X'), "is a form of type 'AIFX', neither 'AIFF' nor 'AIFC'"},
        {Good().FormSize(0), "was never finished: its form says that it is empty"},
        {AiffBuilder().Chunk("NAME", Noise(3), {}, false).Comm(2, 16, 44100).Ssnd(Noise(400)),
         "lacks the pad byte after the chunk 'NAME'"},
        {Changed(Good(), 23, 7), "has a pad byte that is not zero, after the chunk 'NAME'"},
        {Good().Chunk("AUTH", Noise(3), {}, false), "ends without the pad byte of its last chunk"},
        {Good().Chunk("AUTH", Noise(4), 1000),
         "has a chunk 'AUTH' at byte 466 that claims 1000 bytes"},
        {Changed(Good(), 37, 99), "counts 99 sample frames in its COMM chunk and holds 100"},
        {Changed(Good(), 61, 4), "has its samples 4 bytes into its SSND chunk"},
        {Changed(Changed(Good(), 61, 4), 37, 100),
         "counts 100 sample frames in its COMM chunk and holds 99"},
        {Changed(Good(), 33, 0), "has an impossible format: 0 channels, 16 bits"},
        {Changed(Good(), 40, 0xC0), "has an impossible sample rate"},
        {AiffBuilder().Ssnd(Noise(4)), "has no COMM chunk, so its audio format is unknown"},
        {aifc("NONE").Ssnd({}), "is AIFF-C and has no FVER chunk"},
        {aifc("QDM3").Ssnd({}), "has an unknown compression 'QDM3'"},
        {Good().Chunk("SSND", Bytes(8)), "has 2 SSND chunks, where one is allowed"},
        {Good().Chunk("comm", Bytes(18)), "has a COMM or SSND chunk in lower-case letters"},
        {Good().Chunk("ID3 ", tag).Chunk("id3 ", tag), "has 2 tag chunks"},
        {Good().Chunk("ID3 ", Noise(30)), "has no ID3v2 tag in its tag chunk"},
        {Good().Chunk("ID3 ", {}), "has an empty tag chunk"},
        {Good().Chunk("ID3 ", Changed(tag, 9, 90)), "has a tag of 100 bytes in a chunk of 20"},
    };
    const Workplace place;
    for (const auto& [file, finding] : cases) {
        SCOPED_TRACE(finding);
        const bool isClean = *finding == '\0';
        place.Write("in.aiff", file);
        const Json line = Json::parse(place.Run("@ check in.aiff --json", isClean ? 0 : 4).out);
        EXPECT_EQ(line["status"], isClean ? "clean" : "irregular");
        bool found = isClean && line["findings"].empty();
        for (const std::string text : line["findings"])
            found |= !isClean && text.starts_with(finding);
        EXPECT_TRUE(found) << line;
    }
    // Every cut of a file, beside it and one that is not there.
    const std::string whole = Str(tagged);
    std::string names = " good none";
    for (size_t size = 1; size < whole.size(); size += 7) {
        place.Write("cut" + std::to_string(size), whole.substr(0, size));
        names += " cut" + std::to_string(size);
    }
    place.Write("good", whole);
    const Outcome run = place.Run("@ check -q" + names, 1, "none: No such file",
                                  "cut8: is too short to be an AIFF file",
                                  "cut484: irregular\n  is cut off: its form lacks 10 bytes");
    EXPECT_FALSE(Contains(run.out, "clean")) << run.out;
    EXPECT_EQ(place.Run("@ check good").out, "good: clean\n");
}

} // namespace
