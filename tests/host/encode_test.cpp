// aiffconv encode, and what it shares with convert; independent readers are the judges.

#include "HostHarness.h"

namespace
{

void WriteSound(const std::string& path, int format, int channels, int frames)
{
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = channels;
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << path << sf_strerror(nullptr);
    std::vector<int> samples;
    for (uint32_t i = 0; i < static_cast<uint32_t>(channels * frames); ++i)
        samples.push_back(static_cast<int>(i * 2654435761u + 12345));
    sf_writef_int(file, samples.data(), frames);
    sf_close(file);
}

TEST(Encode, EverySampleOfEverySourceArrivesInItsOwnWidth)
{
    const std::tuple<std::string, int, int> cases[] = {
        // and the subtype in AIFF
        {"a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, SF_FORMAT_PCM_S8},
        {"b.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
        {"c.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, SF_FORMAT_PCM_24},
        {"d.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_32, SF_FORMAT_PCM_32},
        {"e.wav", SF_FORMAT_WAV | SF_ENDIAN_BIG | SF_FORMAT_PCM_24, SF_FORMAT_PCM_24},
        {"f.w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
        {"g.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_S8, SF_FORMAT_PCM_S8},
        {"h.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
        {"i.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, SF_FORMAT_PCM_24},
        {"j.au", SF_FORMAT_AU | SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
        {"k.caf", SF_FORMAT_CAF | SF_FORMAT_ALAC_16, SF_FORMAT_PCM_16},
        {"l.aifc", SF_FORMAT_AIFF | SF_ENDIAN_LITTLE | SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
        {"m.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_32, SF_FORMAT_PCM_32},
    };
    for (const int channels : {1, 3}) {
        const Workplace place;
        for (const auto& [name, format, subtype] : cases) {
            SCOPED_TRACE(name + std::to_string(channels));
            WriteSound(place.Path(name), format, channels, 30001);
            Samples expected = ReadSamples(place.Path(name));
            ASSERT_EQ(expected.values.size(), 30001u * static_cast<size_t>(channels));
            place.Run("@ encode " + name + " -o out.aiff --overwrite && " +
                      "@ convert out.aiff -o back.wav --overwrite");
            expected.format = SF_FORMAT_AIFF | subtype;
            EXPECT_TRUE(ReadSamples(place.Path("out.aiff")) == expected);
            EXPECT_TRUE(Values(place, "back.wav") == expected.values);
            EXPECT_NO_THROW(place.Walk("out.aiff"));
        }
    }
}

TEST(Encode, ChunksOfAnAiffFileStayWhereTheyStood)
{
    const Workplace place;
    AiffBuilder source;
    source.Chunk("NAME", Noise(5)).Comm(2, 16, 22254.5454545).Chunk("MARK", Noise(40));
    source.Ssnd(Noise(4 * 777)).Chunk("ID3 ", Noise(33)).Chunk("(c) ", Noise(2)).Chunk("APPL", {});
    Bytes bytes = source;
    place.Write("in.aiff", bytes);
    place.Run("@ encode in.aiff -o out.aiff && cmp in.aiff out.aiff"); // the rate's fraction, too
    // Samples behind an offset stay there.
    bytes[place.Walk("in.aiff").Only("SSND").position + 11] = 4;
    place.Write("in.aiff", bytes);
    place.Run("@ encode in.aiff -o out.aiff --overwrite");
    EXPECT_EQ(place.Walk("out.aiff").Only("SSND").data, place.Walk("in.aiff").Only("SSND").data);
    EXPECT_EQ(Values(place, "out.aiff").size(), 2 * 776u);
}

TEST(Encode, RefusesFourGibibytesBeforeAnythingIsWritten)
{
    const Workplace place;
    // A sparse file: most of its sound takes no room on the disk.
    WriteSound(place.Path("in.rf64"), SF_FORMAT_RF64 | SF_FORMAT_PCM_U8, 1, 10);
    std::string header = place.Read("in.rf64");
    const size_t ds64 = header.find("ds64");
    ASSERT_NE(ds64, std::string::npos);
    const uint64_t size = uint64_t{1} << 32;
    for (const auto& [place64, value] :
         {std::pair<size_t, uint64_t>{8, size + 100}, {16, size}, {24, size}})
        for (size_t i = 0; i < 8; ++i) // the file, the data, the frames
            header[ds64 + place64 + i] = static_cast<char>(value >> 8 * i);
    place.Write("in.rf64", header);
    std::filesystem::resize_file(place.Path("in.rf64"), size + 200);
    place.Run("@ encode in.rf64 -o out.aiff; c=$?; rm in.rf64; exit $c", 1, "cannot exceed 4 GiB");
    EXPECT_EQ(place.List(), Names());
}

TEST(Batch, SkipsWhatIsThereAndTellsResultsAsLines)
{
    const Workplace place;
    WriteSound(place.Path("a.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 24000);
    place.Write("b.wav", place.Read("a.wav").substr(0, 1044));
    place.Write("c.wav", "junk");
    std::filesystem::create_directory(place.Path("out"));
    place.Write("out/d.aiff", "precious");
    place.Write("d.wav", "not even looked at");
    const Outcome run =
        place.Run("@ encode a.wav b.wav c.wav d.wav -o out --skip-existing --json", 1);
    // What is told of each: status, frames, seconds, and whether there is a problem.
    const std::tuple<std::string, const char*, Json, Json, bool> cases[] = {
        {"a", "done", 24000, 0.5, false},
        {"b", "damaged", 500, 500.0 / 48000, true},
        {"c", "failed", nullptr, nullptr, true},
        {"d", "skipped", nullptr, nullptr, false}};
    std::map<std::string, Json> lines;
    std::istringstream text(run.out);
    for (std::string line; std::getline(text, line);)
        lines[Json::parse(line)["input"]] = Json::parse(line);
    ASSERT_EQ(lines.size(), 4u) << run.out;
    for (const auto& [name, status, frames, seconds, hasProblem] : cases) {
        const Json& line = lines[name + ".wav"];
        EXPECT_EQ(line["output"], "out/" + name + ".aiff");
        EXPECT_EQ(line["status"], status);
        EXPECT_EQ(line["frames"], frames);
        EXPECT_EQ(line["seconds"], seconds);
        EXPECT_EQ(line["problem"].is_string(), hasProblem) << line;
    }
    EXPECT_EQ(place.Read("out/d.aiff"), "precious");
    place.Run("@ encode b.wav -o b.aiff", 4);
    place.Run("@ encode a.wav d.wav -o out --skip-existing && "
              "@ convert out/a.aiff -o out/d.aiff --skip-existing --json");
}

// One process per file, as GNU parallel starts them; a second run finds everything done.
TEST(Batch, RunsInManyProcessesAtOnceAndResumes)
{
    const Workplace place;
    for (const char* name : {"1.aiff", "2.aiff", "3.aiff", "4.aiff", "5.aiff", "6.aiff"})
        place.Write(name, Aiff(1, 16, Noise(2000)));
    const std::string all = "for i in *.aiff; do @ convert $i -o wav/ --skip-existing --json & "
                            "done >lines; wait; grep -c '\"done\"' lines";
    EXPECT_EQ(place.Run(all).out, "6\n");
    place.Run("rm wav/3.wav");
    EXPECT_EQ(place.Run(all + "; grep -c skipped lines").out, "1\n5\n");
    EXPECT_EQ(Values(place, "wav/3.wav"), Values(place, "3.aiff"));
}

} // namespace
