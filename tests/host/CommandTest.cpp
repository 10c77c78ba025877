#include "HostHarness.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>

namespace
{

using Names = std::vector<std::string>;

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST(Convert, EverySampleArrivesInItsOwnWidth)
{
    const std::pair<int, int> widths[] = {{8, SF_FORMAT_PCM_U8},
                                          {16, SF_FORMAT_PCM_16},
                                          {24, SF_FORMAT_PCM_24},
                                          {32, SF_FORMAT_PCM_32}};
    const Workplace place;
    for (const auto& [bits, subtype] : widths) {
        for (const int channels : {1, 2, 6}) {
            // An odd number of frames, over several blocks.
            const size_t size = static_cast<size_t>(30001 * channels * bits / 8);
            place.Write("in.aiff", Aiff(channels, bits, Noise(size)));
            const Outcome run = place.Run("@ convert in.aiff -o out.wav --overwrite");
            EXPECT_EQ(run.exitCode, 0) << run.err;
            Samples expected = ReadSamples(place.Path("in.aiff"));
            ASSERT_EQ(expected.values.size(), 30001u * static_cast<size_t>(channels));
            expected.format = SF_FORMAT_WAV | subtype;
            EXPECT_TRUE(ReadSamples(place.Path("out.wav")) == expected) << bits << " " << channels;
            EXPECT_EQ(std::filesystem::file_size(place.Path("out.wav")), 44 + size + size % 2);
            // A pipe, which cannot be sought, gets the very same bytes.
            EXPECT_EQ(place.Run("@ convert in.aiff -o - -q | cmp - out.wav").exitCode, 0);
        }
    }
}

TEST(Convert, TakesPartsInSecondsAndFrames)
{
    struct Case {
        const char* range;
        size_t first, end;
    };
    const Case cases[] = {
        {"--start 100f", 100, 44100},
        {"--end 0.5", 0, 22050},
        {"--start 0.25s --end 22050f", 11025, 22050},
        {"--start 0:00.5 --end 1:00:00", 22050, 44100},
    };
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(2 * 44100)));
    const std::vector<int32_t> all = ReadSamples(place.Path("in.aiff")).values;
    for (const Case& row : cases) {
        const Outcome run =
            place.Run(std::string("@ convert in.aiff -o out.wav --overwrite ") + row.range);
        EXPECT_EQ(run.exitCode, 0) << row.range << run.err;
        const std::vector<int32_t> part(all.begin() + static_cast<ptrdiff_t>(row.first),
                                        all.begin() + static_cast<ptrdiff_t>(row.end));
        EXPECT_TRUE(ReadSamples(place.Path("out.wav")).values == part) << row.range;
    }
    const Outcome empty = place.Run("@ convert in.aiff -o none.wav --start 2");
    EXPECT_EQ(empty.exitCode, 1);
    EXPECT_TRUE(Contains(empty.err, "in.aiff: holds no audio between")) << empty.err;
    EXPECT_EQ(place.Names(), (Names{"in.aiff", "out.wav"}));
}

TEST(Convert, KeepsExistingFilesUnlessToldOtherwise)
{
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(100)));
    place.Write("out.wav", "precious");
    place.Write("linked.wav", "precious");
    std::filesystem::create_symlink("linked.wav", place.Path("link.wav"));
    const Outcome kept = place.Run("@ convert in.aiff -o out.wav");
    EXPECT_EQ(kept.exitCode, 1);
    EXPECT_TRUE(Contains(kept.err, "'out.wav': already exists")) << kept.err;
    EXPECT_EQ(place.Read("out.wav"), "precious");
    EXPECT_EQ(place.Run("chmod 600 out.wav; @ convert in.aiff -o out.wav --overwrite").exitCode, 0);
    EXPECT_EQ(place.Read("out.wav").size(), 144u);
    const auto mode = std::filesystem::status(place.Path("out.wav")).permissions();
    EXPECT_EQ(static_cast<int>(mode), 0600);
    EXPECT_EQ(place.Run("@ convert in.aiff -o link.wav --overwrite").exitCode, 0);
    EXPECT_EQ(place.Read("linked.wav").size(), 144u);
    EXPECT_TRUE(std::filesystem::is_symlink(place.Path("link.wav")));
    EXPECT_EQ(place.Names(), (Names{"in.aiff", "link.wav", "linked.wav", "out.wav"}));
}

TEST(Convert, NamesFileAndReasonAndGoesOnWithTheOthers)
{
    const std::string good = Aiff(2, 16, Noise(400));
    std::string foreign = good;
    foreign.replace(0, 4,
                    "RI\x1B"
                    "F");
    const std::pair<std::string, std::string> bad[] = {
        {foreign, "is not an AIFF file (it begins with \"RI?F\")"},
        {"", "is empty"},
        {"FORM", "is too short to be an AIFF file"},
        {good.substr(0, 38), "holds no sound data"},
        {good.substr(0, 30), "is cut off"},
        {Aiff(2, 16, Noise(400), "ulaw"), "holds compressed audio (ulaw, Name), which is not"},
        {Aiff(1, 12, Noise(400)), "samples of 12 bits"},
        {"FIXTURE blocks=9 fail=5", "cannot be decoded (the decoder gives no reason)"},
        {"FIXTURE bits=20", "samples of 20 bits"},
        {"NOISE noise=10000", "cannot be decoded: Error of the fixture."},
    };
    const Workplace place;
    place.Write("a.aiff", good);
    std::string inputs = "a.aiff missing.aiff .";
    int number = 0;
    for (const auto& [bytes, reason] : bad) {
        const bool scripted = bytes.starts_with("FIXTURE") || bytes.starts_with("NOISE");
        const std::string name = std::to_string(number++) + (scripted ? ".fix" : ".aiff");
        place.Write(name, bytes);
        inputs += " " + name;
    }
    place.Write("z", good); // without extension: its content decides
    const Outcome run = place.Run("@ convert " + inputs + " z -o out");
    EXPECT_EQ(run.exitCode, 1);
    number = 0;
    for (const auto& [bytes, reason] : bad) {
        const std::string line = "\naiffconv: " + std::to_string(number++) + ".";
        const size_t found = ("\n" + run.err).find(line);
        ASSERT_NE(found, std::string::npos) << line;
        const std::string said = run.err.substr(found, run.err.find('\n', found) - found);
        EXPECT_TRUE(Contains(said, reason)) << said;
    }
    EXPECT_TRUE(Contains(run.err, "missing.aiff: No such file")) << run.err;
    EXPECT_TRUE(Contains(run.err, ".: is a folder")) << run.err;
    EXPECT_TRUE(Contains(run.err, "2 of 14 files converted")) << run.err;
    EXPECT_EQ(place.Read("out/a.wav").size(), 444u);
    EXPECT_EQ(place.Read("out/z.wav"), place.Read("out/a.wav"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(place.Path("out")), {}), 2);
}

TEST(Convert, KeepsWhatIsLeftOfDamagedInputAndSaysSo)
{
    const Workplace place;
    const std::string good = Aiff(1, 16, Noise(4000));
    place.Write("good.aiff", good);
    place.Write("cut.aiff", good.substr(0, 2054));
    place.Write("short.fix", "FIXTURE blocks=3 promise=5000");
    place.Write("long.fix", "FIXTURE blocks=3 promise=2500");
    const Outcome run = place.Run("@ convert good.aiff cut.aiff short.fix long.fix -o . -q");
    EXPECT_EQ(run.exitCode, 4);
    EXPECT_TRUE(Contains(run.err, "cut.aiff: is cut off")) << run.err;
    EXPECT_TRUE(Contains(run.err, "short.fix: ends before its sound data")) << run.err;
    EXPECT_FALSE(Contains(run.err, "good.aiff")) << run.err;
    std::vector<int32_t> part = ReadSamples(place.Path("good.aiff")).values;
    part.resize(1000);
    EXPECT_TRUE(ReadSamples(place.Path("cut.wav")).values == part);
    EXPECT_EQ(ReadSamples(place.Path("short.wav")).values, std::vector<int32_t>(1500, 0x01010000));
    EXPECT_EQ(ReadSamples(place.Path("long.wav")).values, std::vector<int32_t>(1250, 0x01010000));
}

TEST(Convert, RefusesSenselessCommandLinesBeforeWritingAnything)
{
    const Workplace place;
    const std::string aiff = Aiff(1, 16, Noise(100));
    std::filesystem::create_directory(place.Path("sub"));
    for (const char* name : {"in.aiff", "in.aif", "sub/in.aiff", "in.wav"})
        place.Write(name, aiff);
    const Names before = place.Names();
    const std::pair<const char*, const char*> cases[] = {
        {"in.aiff in.aif -o out", "would both be written to 'out/in.wav'"},
        {"in.aiff sub/in.aiff -o out", "would both be written"},
        {"in.aiff -o sub/../in.aiff --overwrite", "is one of the inputs"},
        {"in.aiff in.wav -o - ", "several inputs need a folder"},
        {"in.aiff sub/in.aiff -o in.wav --overwrite", "several inputs need a folder"},
        {"in.wav in.aiff -o . --overwrite", "is one of the inputs"},
        {"in.aiff -o - >>in.aiff", "is one of the inputs"},
        {"in.aiff", "output"},
        {"-o out", "IN"},
        {"in.aiff -o out.wav --start x", "--start takes"},
        {"in.aiff -o out.wav --start 2 --end 1", "--end must lie behind"},
        {"in.aiff -o out.wav --jobs 0", "jobs"},
        {"in.aiff -o out.wav --trace loud", "--trace takes"},
        {"in.aiff -o out.wav --nonsense", "nonsense"},
    };
    for (const auto& [arguments, reason] : cases) {
        const Outcome run = place.Run(std::string("@ convert ") + arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments;
        EXPECT_TRUE(Contains(run.err, reason)) << run.err;
        EXPECT_EQ(place.Names(), before) << arguments;
        EXPECT_EQ(place.Read("in.aiff"), aiff) << arguments;
    }
}

TEST(Convert, FailedWritingIsReported)
{
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(100)));
    for (const char* arguments : {"-o /dev/full", "-o - >/dev/full", "-o - >&-", "-o none/x.wav"}) {
        const Outcome run = place.Run(std::string("@ convert in.aiff ") + arguments);
        EXPECT_EQ(run.exitCode, 1) << arguments;
        EXPECT_TRUE(Contains(run.err, "in.aiff: ")) << run.err;
    }
    EXPECT_EQ(place.Run("{ @ convert in.aiff -o -; echo $? >code; } | true").exitCode, 0);
    EXPECT_EQ(place.Names(), (Names{"code", "in.aiff"}));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

TEST(Convert, TakesNamesThatAreNotUtf8AndLookLikeLists)
{
    const Workplace place;
    const Names names = {"[a,b].aiff", "b\xFF\xC3\xA9.AIFF", "Op. 1", "-dash.aiff"};
    std::string inputs;
    for (const std::string& name : names) {
        place.Write(name, Aiff(1, 8, Noise(10)));
        inputs += " '" + name + "'";
    }
    const Outcome run = place.Run("@ convert -o [x]/ --" + inputs);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    for (const char* name : {"[a,b].wav", "b\xFF\xC3\xA9.wav", "Op. 1.wav", "-dash.wav"})
        EXPECT_EQ(place.Read(std::string("[x]/") + name).size(), 54u) << name;
}

TEST(Info, DescribesInputsForPeopleAndAsJson)
{
    const Workplace place;
    place.Write("in.aiff", Aiff(2, 24, Noise(6 * 441)));
    place.Write("bad\xFF.aiff", "nonsense, but long enough");
    const Outcome text = place.Run("@ info in.aiff");
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_TRUE(Contains(text.out, "44100 Hz, 24 bit, 2 channels")) << text.out;
    EXPECT_TRUE(Contains(text.out, "0:00.010 (441 frames")) << text.out;
    const Outcome run = place.Run("@ info --json in.aiff bad*");
    EXPECT_EQ(run.exitCode, 1);
    const auto json = nlohmann::json::parse(run.out);
    ASSERT_EQ(json.size(), 2u);
    EXPECT_EQ(json[0]["file"], "in.aiff");
    EXPECT_EQ(json[0]["format"]["bitsPerSample"], 24);
    EXPECT_EQ(json[0]["length"]["frames"], 441);
    EXPECT_EQ(json[0]["properties"]["Channel Mapping"], "Left, Right");
    EXPECT_TRUE(Contains(json[1]["error"], "is not an AIFF file"));
    EXPECT_EQ(place.Run("@ info in.aiff >/dev/full").exitCode, 1);
}

TEST(Codecs, ShowsWhatWasFoundAndWhyNot)
{
    const Workplace place;
    const Outcome run = place.Run("@ codecs --json");
    EXPECT_EQ(run.exitCode, 0);
    const auto json = nlohmann::json::parse(run.out);
    EXPECT_EQ(json["folder"], place.Codecs());
    ASSERT_EQ(json["plugins"].size(), 2u);
    EXPECT_EQ(json["plugins"][0]["description"], "Aiff Decoder");
    EXPECT_EQ(json["plugins"][0]["formats"][2]["extension"], ".aifc");
    const Outcome broken = place.Run("QVCODECPATH=" FIXTURE_ROOT " @ codecs");
    EXPECT_TRUE(Contains(broken.out, "SetPosition is missing")) << broken.out;
    EXPECT_EQ(place.Run("QVCODECPATH=/none @ codecs").exitCode, 3);
    const Outcome none = place.Run("QVCODECPATH=/none @ convert x -o y");
    EXPECT_EQ(none.exitCode, 3);
    EXPECT_TRUE(Contains(none.err, "QVCODECPATH")) << none.err;
}

TEST(Program, ShowsHelpVersionAndTrace)
{
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(100)));
    EXPECT_TRUE(Contains(place.Run("@ --help").out, "Exit codes:"));
    EXPECT_TRUE(Contains(place.Run("@ convert --help").out, "--start 1:30"));
    EXPECT_TRUE(place.Run("@ --version").out.starts_with("aiffconv "));
    EXPECT_EQ(place.Run("@").exitCode, 2);
    EXPECT_EQ(place.Run("@ --trace debug=t.txt convert in.aiff -o a.wav").err,
              "in.aiff -> a.wav\n");
    EXPECT_TRUE(Contains(place.Read("t.txt"), "->->  [Open]\r\n"));
    EXPECT_TRUE(Contains(place.Run("@ info /etc/hostname --trace error").err, "  [ScanFile]\r\n"));
    // Without QVCODECPATH the plug-in of the build tree is found.
    EXPECT_EQ(place.Run("unset QVCODECPATH; @ info in.aiff").exitCode, 0);
}

} // namespace
