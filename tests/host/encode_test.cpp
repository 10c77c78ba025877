// SPDX-License-Identifier: MIT

// aiffconv encode, and what it shares with convert; independent readers are the judges.

#include "HostHarness.h"
#include "host/writers/WavHeader.h"

namespace
{

using namespace std::string_literals;

constexpr char kCutOff[] = "is cut off: its sound data is shorter than the file says";

void WriteSound(const std::string& path, int format, int channels, int frames)
{
    SF_INFO info{0, 48000, channels, format, 0, 0};
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << path << sf_strerror(nullptr);
    std::vector<int> samples;
    for (uint32_t i = 0; i < static_cast<uint32_t>(channels * frames); ++i)
        samples.push_back(static_cast<int>(i * 2654435761u + 12345));
    sf_writef_int(file, samples.data(), frames);
    sf_close(file);
}

// Files in many formats, and the subtype that their samples have in AIFF.
const std::tuple<std::string, int, int> kSources[] = {
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
    {"n.rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
    {"o.au", SF_FORMAT_AU | SF_ENDIAN_LITTLE | SF_FORMAT_PCM_24, SF_FORMAT_PCM_24},
    {"p.caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
    {"q.iff", SF_FORMAT_SVX | SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
    {"r.voc", SF_FORMAT_VOC | SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
};

TEST(Encode, EverySampleOfEverySourceArrivesInItsOwnWidthOrIsMissed)
{
    for (const int channels : {1, 3}) {
        const Workplace place;
        for (const auto& [name, format, subtype] : kSources) {
            if (channels == 3 && name >= "q")
                continue; // they hold no more than two
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
            const std::string cut = "cut_" + name;
            place.Write(cut, place.Read(name).substr(0, place.Read(name).size() - 11));
            place.Run("@ encode " + cut + " -o cut.aiff --overwrite", 4);
        }
    }
}

TEST(Encode, HoldsTheSizesOfAFileAgainstItAndNothingElse)
{
    const Workplace place;
    WriteSound(place.Path("in.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 2500);
    const std::string wav = place.Read("in.wav");
    const std::string list("LIST\x1E\0\0\0INFOICMT\x12\0\0\0data : 100 should", 38);
    const auto changed = [&](size_t at, const std::string& bytes) {
        return std::string(wav).replace(at, bytes.size(), bytes);
    };
    // A WAV file of 10,044 bytes; what becomes of it, exit code and words.
    const std::tuple<std::string, int, const char*> cases[] = {
        {wav + list, 0, ""},
        {wav.substr(0, 36) + list + wav.substr(36), 0, ""},
        {wav + "TAGs of another kind", 0, ""},
        {changed(4, "\x5A\x27\0\0"s) + list.substr(0, 30), 4, "is cut off within its chunk 'LIST'"},
        {changed(4, "\x3C\x30\0\0"s), 4, "2312 bytes are missing at its end"},
        {changed(4, "\x3C\x27\0\0"s), 0, ""},     // counts its own header
        {changed(40, "\xFF\xFF\xFF\xFF"), 0, ""}, // not known when it was written
        {changed(40, "\0\xF0\xFF\x7F"s), 0, ""},
        {changed(40, "\0\0\0\xA0"s), 4, kCutOff},
        {changed(40, "\x11\x27\0\0"s), 4, kCutOff},
        {changed(40, "\x0F\x27\0\0"s), 4, "within a sample frame"},
        {changed(40, "\x0D\x27\0\0"s).erase(10041) + list, 4, "within a sample frame"}, // no pad
        {"ID3\4\0\0\0\0\0\2--\xFF\xFB\x90\x64"s + wav, 1, "holds MPEG audio"},
    };
    for (const auto& [bytes, exitCode, words] : cases) {
        place.Write("in.wav", bytes);
        place.Run("@ encode in.wav -o out.aiff --overwrite", exitCode, words);
    }
    // SoX makes blocks of type 9 too small by 8 bytes. The last samples are zeros, as the end is.
    WriteSound(place.Path("in.voc"), SF_FORMAT_VOC | SF_FORMAT_PCM_16, 2, 2500);
    std::string voc = place.Read("in.voc");
    voc.replace(voc.size() - 13, 12, 12, '\0');
    for (const int missed : {0, 8}) {
        voc[27] = static_cast<char>(voc[27] - missed);
        for (const auto& [cut, exitCode] : {std::pair{0, 0}, {1, 4}, {5, 4}, {8, 4}, {400, 4}}) {
            place.Write("in.voc", voc.substr(0, voc.size() - static_cast<size_t>(cut)));
            place.Run("@ encode in.voc -o out.aiff --overwrite", missed + cut == 16 ? 0 : exitCode);
        }
    }
    // COMM counts other frames than SSND holds; a chunk is not where it should be.
    const Bytes aiff = AiffBuilder().Comm(1, 16, 8000).Ssnd(Noise(200)).Chunk("ANNO", Noise(8));
    for (const auto& [at, words] :
         {std::pair{25, "counts 228 sample frames in its COMM chunk and "},
          {261, "is cut off within its chunk 'ANNO'"},
          {254, "no chunk where one is due"}}) {
        Bytes bytes = aiff;
        bytes[static_cast<size_t>(at)] ^= 0x80;
        place.Write("in.aiff", bytes);
        for (const char* run : {"@ convert in.aiff -o x.wav", "@ encode in.aiff -o x.aiff"})
            place.Run(run + " --overwrite"s, 4, words);
    }
    place.Write("in.aiff", Join({aiff, Text("TAG"), Bytes(125)}));
    for (const char* run : {"@ convert in.aiff -o x.wav", "@ encode in.aiff -o x.aiff"})
        place.Run(run + " --overwrite"s, 0, "128 bytes after the end of its form (an ID3v1 tag)");
    place.Write("slow.fix", "FIXTURE blocks=10 pause=100");
    place.Run("(sleep 0.4; echo >>slow.fix) & @ convert slow.fix -o slow.wav", 4,
              "slow.fix: was changed by another program while it was read");
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
    // Samples after an offset stay there, and are found there.
    bytes[place.Walk("in.aiff").Only("SSND").position + 11] = 4;
    bytes[place.Walk("in.aiff").Only("COMM").position + 13] -= 1; // a frame less
    place.Write("in.aiff", bytes);
    place.Run("@ encode in.aiff -o out.aiff --overwrite && @ convert in.aiff -o all.wav && "
              "@ convert in.aiff -o part.wav --start 6f");
    EXPECT_EQ(place.Walk("out.aiff").Only("SSND").data, place.Walk("in.aiff").Only("SSND").data);
    std::vector<int32_t> samples = Values(place, "out.aiff");
    EXPECT_EQ(samples.size(), 2 * 776u);
    EXPECT_EQ(Values(place, "all.wav"), samples);
    samples.erase(samples.begin(), samples.begin() + 2 * 6);
    EXPECT_EQ(Values(place, "part.wav"), samples);
    bytes[place.Walk("in.aiff").Only("SSND").position + 11] = 3;
    place.Write("in.aiff", bytes);
    place.Run("@ convert in.aiff -o all.wav --overwrite", 4, "samples 3 bytes into its sound");
}

// A WAV file whose silence takes no room on the disk, but time to encode.
void WriteSilence(const Workplace& place, int64_t bytes)
{
    const Bytes header = *aiff::host::WavHeader({1, 1, 8000, 8000, 1, 8, 0, 0, 0, {}}, bytes);
    place.Write("in.wav", header);
    std::filesystem::resize_file(place.Path("in.wav"), header.size() + static_cast<size_t>(bytes));
}

TEST(Encode, RefusesFourGibibytesBeforeAnythingIsWritten)
{
    const Workplace place;
    WriteSilence(place, int64_t{1} << 32);
    place.Run("@ encode in.wav -o out.aiff", 1, "cannot exceed 4 GiB");
    EXPECT_EQ(place.List(), Names{"in.wav"});
}

TEST(Interruption, LeavesNoUnfinishedOutputAndNoNewFolder)
{
    if (!std::filesystem::exists("/proc/self/fd"))
        GTEST_SKIP() << "what a program has open cannot be seen here";
    const Workplace place;
    for (const char* name : {"a.fix", "b.fix"}) // each would take more than a minute
        place.Write(name, "FIXTURE blocks=1000 pause=100");
    WriteSilence(place, 1 << 30);
    const Names before = place.List();
    const std::tuple<std::string, std::string, int> cases[] = {
        {"convert a.fix b.fix -j 2", "INT", 130}, {"convert a.fix b.fix -j 2", "QUIT", 130},
        {"convert a.fix b.fix -j 2", "HUP", 130}, {"convert a.fix b.fix -j 2", "KILL", 137},
        {"encode in.wav", "TERM", 130},           {"encode in.wav", "KILL", 137}};
    for (const auto& [command, signal, exitCode] : cases) {
        const std::string outputs = command.starts_with("c") ? "2" : "1"; // until they are open
        place.Run("env --default-signal @ " + command +
                      " -o out/ & p=$!; for i in $(seq 999); do "
                      "[ $(ls -l /proc/$p/fd | grep -c /out/) -ge " +
                      outputs +
                      " ] && break; sleep 0.01;"
                      "done; kill -" +
                      signal + " $p; wait $p; c=$?; test $i != 999 && exit $c",
                  exitCode);
        EXPECT_EQ(std::filesystem::remove(place.Path("out")), signal == "KILL") << "when empty";
        EXPECT_EQ(place.List(), before) << signal;
    }
}

TEST(Batch, SkipsWhatIsThereAndTellsResultsAsLines)
{
    const Workplace place;
    WriteSound(place.Path("a.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 24000);
    place.Write("b.wav", place.Read("a.wav").substr(0, 1044));
    place.Write("c.wav", "junk");
    std::filesystem::create_directory(place.Path("out"));
    place.Write("out/d.aiff", Aiff(1, 16, Noise(2)));
    const std::string precious = place.Read("out/d.aiff");
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
    EXPECT_EQ(place.Read("out/d.aiff"), precious);
    place.Run("@ encode b.wav -o b.aiff", 4);
    // What is there is as good as new, or made again.
    for (const std::string name : {"out/a.aiff", "out/a.wav", "out/a.flac"}) {
        const std::string make = name.ends_with("aiff") ? "@ encode a.wav -o " + name
                                                        : "@ convert out/a.aiff -o " + name;
        place.Run(make + " --skip-existing --sync");
        const std::string whole = place.Read(name);
        EXPECT_PRED2(Contains, place.Run(make + " --skip-existing").err, "skipped, there is");
        for (const std::string& part : {whole.substr(0, whole.size() - 500),
                                        whole.substr(0, whole.size() - 1), std::string()}) {
            place.Write(name, part);
            place.Run(make + " --skip-existing", 0, "made again, as the old '" + name + "' ");
            EXPECT_TRUE(place.Read(name) == whole) << name;
        }
    }
}

TEST(Batch, DoesTheSameWithAnyNumberOfWorkersAndDescriptors)
{
    const Workplace place;
    WriteSound(place.Path("0.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 9000);
    const std::string whole = place.Read("0.wav");
    for (int i = 1; i < 48; ++i) // some are whole, some cut, some of other kinds
        place.Write(std::to_string(i) + ".wav", i % 4 == 1   ? whole.substr(0, 9000)
                                                : i % 4 == 2 ? "junk, but enough of it to read"
                                                : i % 4 == 3 ? whole.substr(0, 30)
                                                             : whole);
    const std::string all = "{ ls *.wav; @ encode *.wav -o out/ -j ";
    const std::string rest = "; cat out/* | cksum; rm -r out; } 2>&1";
    const std::string one = place.Run(all + "1" + rest).out;
    EXPECT_PRED2(Contains, one, "24 of 48 files encoded");
    for (const std::string jobs : {"8", "256"})
        EXPECT_EQ(place.Run("(ulimit -n 64; " + all + jobs + rest + ")").out, one);
    // One process per file, as GNU parallel starts them.
    place.Run("for i in *.wav; do @ encode $i -o out/ 2>>log & done; wait; cat out/* | cksum", 0,
              one.substr(one.rfind('\n', one.size() - 2) + 1));
    // One that fails removes the folder that it made, though another one has begun to use it.
    place.Run("{ (sleep 1; echo junk) | @ encode - -o new/; } 2>>log & sleep 0.3;"
              "(sleep 1.5; cat 4.wav) | @ encode - -o new/ 2>>log; ls new",
              0, "stdin.aiff\n");
}

} // namespace
