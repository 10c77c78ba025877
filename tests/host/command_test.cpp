// SPDX-License-Identifier: MIT

// What aiffconv as a program does: convert, info, codecs, and what all commands refuse.

#include "HostHarness.h"

namespace
{

using namespace std::string_literals;

TEST(Convert, EverySampleArrivesInItsOwnWidth)
{
    const int wavTypes[] = {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_PCM_32};
    const int flacTypes[] = {SF_FORMAT_PCM_S8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24}; // no 32 bits
    const Workplace place;
    for (const int bits : {8, 16, 24, 32})
        for (const std::string code : {"", "NONE", "sowt", "SOWT"})
            for (const int channels : {1, 2, 6}) {
                SCOPED_TRACE(std::to_string(bits) + code + std::to_string(channels));
                // An odd number of frames, over several blocks.
                const Bytes pcm = Noise(static_cast<size_t>(30001 * channels * bits / 8));
                const bool big = code == "SOWT"; // libsndfile knows it not
                place.Write("in.aiff", Aiff(channels, bits, pcm, big ? "sowt" : code));
                Samples expected = ReadSamples(place.Path("in.aiff"));
                place.Write("in.aiff", Aiff(channels, bits, pcm, code));
                place.Run("@ convert in.aiff -o out.wav --overwrite");
                ASSERT_EQ(expected.values.size(), 30001u * static_cast<size_t>(channels));
                expected.format =
                    (channels > 2 ? SF_FORMAT_WAVEX : SF_FORMAT_WAV) | wavTypes[bits / 8 - 1];
                EXPECT_TRUE(ReadSamples(place.Path("out.wav")) == expected);
                const size_t header = channels > 2 ? 68 : 44;
                EXPECT_EQ(place.ReadBytes("out.wav").size(), header + pcm.size() + pcm.size() % 2);
                // A pipe, which cannot be sought, gets the very same bytes.
                place.Run("@ convert in.aiff -o - -q | cmp - out.wav");
                if (bits == 32)
                    continue;
                place.Run("@ convert in.aiff -o out.flac --overwrite");
                expected.format = SF_FORMAT_FLAC | flacTypes[bits / 8 - 1];
                EXPECT_TRUE(ReadSamples(place.Path("out.flac")) == expected);
                // But for what is known only at the end.
                place.Run("@ convert in.aiff -o - --format flac -q >pipe.flac");
                EXPECT_TRUE(place.Read("pipe.flac").substr(42) ==
                            place.Read("out.flac").substr(42));
            }
}

TEST(Convert, TakesPartsInSecondsAndFrames)
{
    const std::tuple<const char*, int, int> cases[] = {
        {"--start 100f", 100, 44100},
        {"--end 0.5", 0, 22050},
        {"--start 0.25s --end 22050f", 11025, 22050},
        {"--start 0:00.5 --end 1:00:00", 22050, 44100},
    };
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(2 * 44100)));
    const std::vector<int32_t> all = Values(place, "in.aiff");
    for (const auto& [range, first, end] : cases) {
        place.Run(std::string("@ convert in.aiff -o out.wav --overwrite ") + range);
        const std::vector<int32_t> part(all.begin() + first, all.begin() + end);
        EXPECT_TRUE(Values(place, "out.wav") == part) << range;
    }
    place.Run("@ convert in.aiff -o none.wav --start 2", 1, "in.aiff: holds no audio between");
    EXPECT_EQ(place.List(), (Names{"in.aiff", "out.wav"}));
}

TEST(Convert, ReplacesFilesOnlyWhenToldAndThenAsTheyAre)
{
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(100)));
    place.Write("out.wav", "precious");
    place.Write("linked.wav", "precious");
    std::filesystem::create_symlink("linked.wav", place.Path("link.wav"));
    place.Run("@ convert in.aiff -o out.wav", 1, "'out.wav': already exists");
    EXPECT_EQ(place.Read("out.wav"), "precious");
    place.Run("chmod 600 out.wav; @ convert in.aiff -o out.wav --overwrite; stat -c %a out.wav", 0,
              "600\n");
    place.Run("@ convert in.aiff -o link.wav --overwrite && test -L link.wav");
    EXPECT_EQ(place.Read("out.wav").size(), 144u);
    EXPECT_EQ(place.Read("linked.wav").size(), 144u);
    EXPECT_EQ(place.List(), (Names{"in.aiff", "link.wav", "linked.wav", "out.wav"}));
}

TEST(Convert, NamesFileAndReasonAndGoesOnWithTheOthers)
{
    const std::string good = Str(Aiff(2, 16, Noise(400)));
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"0.aiff", "RI\033F" + good.substr(4), "is not an AIFF file (it begins with \"RI?F\")"},
        {"1.aiff", "", "is empty"},
        {"2.aiff", "FORM", "is too short to be an AIFF file"},
        {"3.aiff", good.substr(0, 38), "holds no sound data"},
        {"4.aiff", good.substr(0, 30), "holds no sound data (no SSND chunk); the file is cut off"},
        {"5.aiff", Str(Aiff(2, 16, Noise(400), "QDM2")),
         "holds compressed audio (QDM2, Name), which is not"},
        {"6.aiff", Str(Aiff(1, 40, Noise(400))), "has samples of 40 bits"},
        {"7.fix", "FIXTURE blocks=9 fail=5", "cannot be decoded (the decoder gives no reason)"},
        {"8.fix", "FIXTURE bits=20", "has samples of 20 bits"},
        {"9.fix", "NOISE noise=10000", "cannot be decoded: Error of the fixture."},
    };
    const Workplace place;
    place.Write("a.aiff", good);
    place.Write("z", good); // without extension: its content decides
    std::filesystem::create_directory(place.Path("empty"));
    std::string inputs = "a.aiff missing.aiff empty z";
    for (const auto& [name, bytes, reason] : cases) {
        place.Write(name, bytes);
        inputs += " " + name;
    }
    const Outcome run =
        place.Run("@ convert " + inputs + " -o out", 1, "missing.aiff: No such file",
                  "empty: is a folder without files", "2 of 14 files converted");
    for (const auto& [name, bytes, reason] : cases)
        EXPECT_PRED2(Contains, run.err, "aiffconv: " + name + ": " + reason);
    EXPECT_EQ(place.Read("out/a.wav").size(), 444u);
    EXPECT_EQ(place.Read("out/z.wav"), place.Read("out/a.wav"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(place.Path("out")), {}), 2);
    place.Run("@ convert 1.aiff 2.aiff -o none", 1);
    EXPECT_FALSE(std::filesystem::exists(place.Path("none"))) << "nothing was written to it";
}

TEST(Convert, KeepsWhatIsLeftOfDamagedInputAndSaysSo)
{
    const Workplace place;
    const std::string good = Str(Aiff(1, 16, Noise(4000)));
    place.Write("good.aiff", good);
    place.Write("cut.aiff", good.substr(0, 2054));
    place.Write("short.fix", "FIXTURE blocks=3 promise=5000");
    place.Write("long.fix", "FIXTURE blocks=3 promise=2500");
    const Outcome run = place.Run("@ convert good.aiff cut.aiff short.fix long.fix -o . -q", 4,
                                  "cut.aiff: is cut off", "short.fix: ends before its sound data");
    EXPECT_FALSE(Contains(run.err, "good.aiff")) << run.err;
    std::vector<int32_t> part = Values(place, "good.aiff");
    part.resize(1000);
    EXPECT_EQ(Values(place, "cut.wav"), part);
    EXPECT_EQ(Values(place, "short.wav"), std::vector<int32_t>(1500, 0x01010000));
    EXPECT_EQ(place.Read("short.wav").substr(40, 4), std::string("\xB8\x0B\0\0", 4)) << "corrected";
    EXPECT_EQ(Values(place, "long.wav"), std::vector<int32_t>(1250, 0x01010000));
}

TEST(Convert, ChoosesFormatAndNameOfTheOutput)
{
    const Workplace place;
    // UTF-8, and bytes that are not: cut short, too long, a surrogate, past U+10FFFF, never.
    const std::string odd =
        "b\xC3\xA9\xF0\x9D\x84\x9E\xC3z\xC0\xAF\xED\xB2\x80\xF4\x90\x80\x80\xFF";
    const std::tuple<std::string, std::string, const char*> cases[] = {
        {"in.aiff -o A.FLAC", "A.FLAC", "fLaC"},
        {"in.aiff -o d/ --format flac", "d/in.flac", "fLaC"},
        {"in.aiff -o dir.flac", "dir.flac/in.wav", "RIFF"},
        {"-o [x]/ -- '[a,b].aiff'", "[x]/[a,b].wav", "RIFF"},
        {"-o [x]/ -- '" + odd + ".AIFF'", "[x]/" + odd + ".wav", "RIFF"},
        {"-o [x]/ -- 'Op. 1'", "[x]/Op. 1.wav", "RIFF"},
        {"-o [x]/ -- -dash.aiff", "[x]/-dash.wav", "RIFF"},
        {"'[a]' -o out.wav", "out.wav", "RIFF"},
    };
    std::filesystem::create_directory(place.Path("dir.flac"));
    for (const std::string& name :
         {"in.aiff"s, "[a,b].aiff"s, odd + ".AIFF", "Op. 1"s, "-dash.aiff"s, "[a]"s})
        place.Write(name, Aiff(1, 16, Noise(100)));
    for (const auto& [arguments, output, begin] : cases) {
        place.Run("@ convert " + arguments);
        EXPECT_TRUE(place.Read(output).starts_with(begin)) << output;
    }
}

TEST(Program, RefusesWhatItCannotDoAndTouchesNothing)
{
    const Workplace place;
    const Bytes aiff = Aiff(1, 16, Noise(100));
    std::filesystem::create_directory(place.Path("sub"));
    for (const char* name : {"in.aiff", "in.aif", "sub/in.aiff", "in.wav"})
        place.Write(name, aiff);
    place.Write("long.aiff", Aiff(1, 16, Noise(1000000)));
    place.Run("@ tags set in.aiff Title=Old && @ convert long.aiff -o long.wav");
    place.Write("deep.aiff", Aiff(1, 32, Noise(400)));
    place.Write("law.aifc", Aiff(1, 8, Noise(3), "alaw"));
    place.Write("float.wav", "RIFF\x2C\0\0\0WAVEfmt \x10\0\0\0\3\0\1\0\x44\xAC\0\0\x10\xB1\2\0\4\0"
                             "\x20\0data\x08\0\0\0\0\0\0\0\0\0\0\0"s);
    place.Write("unfinished.aiff", Join({Text("FORM"), Big(0, 4), From(aiff, 8), Noise(70000)}));
    place.Write("words.png", "no picture, no audio at all, only words");
    place.Write("pic.png", "\x89PNG\r\n\x1A\n" + std::string(20000, 'p'));
    place.Run("cp long.aiff art.aiff && @ tags art set art.aiff pic.png");
    const auto before = place.Contents();
    const std::tuple<const char*, int, const char*> cases[] = {
        {"@", 2, "a command is missing"},
        {"@ convert in.aiff in.aif -o out", 2, "would both be written to 'out/in.wav'"},
        {"@ convert in.aiff sub/in.aiff -o out", 2, "would both be written"},
        {"@ convert in.aiff -o sub/../in.aiff --overwrite", 2, "is one of the inputs"},
        {"@ convert in.aiff in.wav -o - ", 2, "several inputs must be written to a folder"},
        {"@ convert in.aiff sub/in.aiff -o in.wav --overwrite", 2,
         "several inputs must be written to a folder"},
        {"@ convert in.wav in.aiff -o . --overwrite", 2, "is one of the inputs"},
        {"@ convert in.aiff -o - >>in.aiff", 2, "is one of the inputs"},
        {"@ convert in.aiff", 2, "output"},
        {"@ convert -o out", 2, "IN"},
        {"@ convert in.aiff -o out.wav --start x", 2, "--start takes"},
        {"@ convert in.aiff -o out.wav --start 2 --end 1", 2, "--end must be after"},
        {"@ convert in.aiff -o out.wav --jobs 0", 2, "jobs"},
        {"@ convert in.aiff -o out.wav --trace loud", 2, "--trace takes"},
        {"@ convert -o out.wav --nonsense", 2, "no option '--nonsense'"},
        {"@ convert in.aiff -o out --format mp3", 2, "mp3"},
        {"@ convert in.aiff -o - --json", 2, "--json"},
        {"@ convert in.aiff -o /dev/full", 1, "in.aiff: "},
        {"@ convert in.aiff -o - >/dev/full", 1, "in.aiff: "},
        {"@ convert in.aiff -o - --format flac >/dev/full", 1, "in.aiff: "},
        {"@ convert in.aiff -o - >&-", 1, "in.aiff: "},
        {"@ convert in.aiff -o none/x.wav", 1, "in.aiff: "},
        {"@ convert in.aiff -o - | true", 0, ""},
        {"@ convert deep.aiff -o out.flac", 1, "samples of 32 bits (FLAC takes 8, 16 and 24"},
        {"@ convert in.aiff -o x.mp3", 2, "no command of aiffconv writes"},
        {"@ convert in.aiff -o x.MP3 --format wav", 2, "no command of aiffconv writes"},
        {"@ convert in.aiff -o x.part", 2, "'x.part' ends in '.part'"},
        {"@ convert in.aiff -o x.aif", 2, "AIFF, which \"aiffconv encode\" writes"},
        {"@ convert in.aiff -o x.flac --format wav", 2, "\"aiffconv convert --format flac\""},
        {"@ encode in.aiff -o x.Flac", 2, "\"aiffconv convert --format flac\" writes"},
        {"@ encode in.aiff -o x.aifc", 2, "no command of aiffconv writes"},
        {"@ --trace debug=in.aiff convert in.aiff -o x.wav", 2, "the trace would replace"},
        {"@ convert in.aiff -o x.part --format wav && rm x.part", 0, ""},
        {"@ convert in.aiff -o 'No. 5' && rm 'No. 5'", 0, ""},
        {"@ info in.aiff >/dev/full", 1, "standard output: "},
        {"@ --help >/dev/full", 1, "standard output: "},
        {"@ info - --trace debug=in.aiff <in.aiff", 2, "the trace would replace"},
        {"(ulimit -f 8; @ tags art export art.aiff -o none)", 1, "File too large"},
        {"@ info 'a\xC3\xA9\x1B[2J\x7F\xC2\x9B\xFFz\rb'", 1, "a\xC3\xA9?[2J???z; b: No such file"},
        {"QVCODECPATH=/none @ codecs", 3, ""},
        {"QVCODECPATH=/none @ convert x -o y", 3, "QVCODECPATH"},
        {"@ encode float.wav -o out.aiff", 1, "holds 32 bit float, and only integer PCM"},
        {"@ encode words.png -o out.aiff", 1, "cannot be read as audio"},
        {"@ encode law.aifc -o out.aiff", 1, "holds audio coded as 'alaw'"},
        {"@ encode none.wav -o out.aiff", 1, "No such file"},
        {"@ encode ftp://x/a.wav -o out.aiff", 1, "no address that begins with http"},
        {"@ encode long.wav -o -", 2, "standard output"},
        {"@ encode long.wav -o long.wav --overwrite", 2, "is one of the inputs"},
        {"@ encode long.wav -o /dev/null", 1, "is not a regular file"},
        {"(ulimit -f 600; @ encode long.wav -o out.aiff)", 1, "'out.aiff': File too large"},
        {"@ encode long.wav -o out.aiff --skip-existing --overwrite", 2, "excludes"},
        {"@ tags", 2, "a command is missing"},
        {"@ tags set in.aiff Title=\xFF", 2, "is not UTF-8"},
        {"@ tags set missing=1.aiff in.aiff Title=x", 2, "files must come first"},
        {"@ tags set in.aiff Title=x in.aiff", 2, "comes after 'Title=x'"},
        {"@ tags set in.aiff", 2, "nothing to set"},
        {"@ tags set in.aiff TagVersion=x", 2, "nothing to set"},
        {"@ tags set in.aiff =x", 2, "is not of the form NAME=VALUE"},
        {"@ tags set in.aiff _cdtoc=x", 2, "name cannot begin with"},
        {"@ tags set Title=x", 2, "files must come first"},
        {"@ info http://127.0.0.1:1/a.aiff --no-fetch", 1, "cannot be opened: connection refused"},
        {"@ tags set unfinished.aiff Title=x", 1, "is left as it is: no sound data was found"},
        {"@ tags remove in.aiff ''", 2, "without a name"},
        {"@ tags remove in.aiff", 2, "no field to remove"},
        {"@ tags remove in.aiff Title missing.aiff", 2, "comes after 'Title'"},
        {"@ tags remove in.aiff Nothing missing", 0, "in.aiff: has no Nothing, missing"},
        {"@ tags copy in.aiff", 2, "TO"},
        {"@ tags copy missing.aiff in.aiff", 1, "No such file"},
        {"@ tags art set in.aiff words.png", 1, "is neither a PNG nor a JPEG"},
        {"(cp pic.png vast.png; truncate -s 64M vast.png; @ tags art set in.aiff vast.png;"
         " code=$?; rm vast.png; exit $code)",
         1, "in.aiff: is left as it is: the new tag would be too large"},
        {"@ tags art set in.aiff none.png", 1, "No such file"},
        {"@ tags art set in.aiff pic.png --type nose", 2, "front, back"},
        {"@ tags art export in.aiff -o x", 1, "has no pictures"},
    };
    for (const auto& [command, exitCode, reason] : cases) {
        place.Run(command, exitCode, reason);
        EXPECT_TRUE(place.Contents() == before) << command;
    }
    if (geteuid() != 0)
        place.Run("chmod 444 in.aiff; @ tags set in.aiff Title=x", 1,
                  "in.aiff: cannot be changed: Permission denied");
}

TEST(Program, DescribesInputsDecodersAndItself)
{
    const Workplace place;
    place.Write("in.aiff", Aiff(2, 24, Noise(6 * 441)));
    place.Write("bad.aiff", "nonsense, but long enough");
    place.Run("@ info in.aiff", 0, "44100 Hz, 24 bit, 2 channels", "0:00.010 (441 frames");
    const Json info = Json::parse(place.Run("@ info --json in.aiff bad*", 1).out);
    ASSERT_EQ(info.size(), 2u);
    EXPECT_EQ(info[0]["file"], "in.aiff");
    EXPECT_EQ(info[0]["format"]["bitsPerSample"], 24);
    EXPECT_EQ(info[0]["length"]["frames"], 441);
    EXPECT_EQ(info[0]["properties"]["Channel Mapping"], "Left, Right");
    EXPECT_PRED2(Contains, info[1]["error"], "is not an AIFF file");
    const Json codecs = Json::parse(place.Run("@ codecs --json").out);
    EXPECT_EQ(codecs["folder"], place.Path(".codecs"));
    ASSERT_EQ(codecs["plugins"].size(), 2u);
    EXPECT_EQ(codecs["plugins"][0]["description"], "Aiff Decoder");
    EXPECT_EQ(codecs["plugins"][0]["formats"][2]["extension"], ".aifc");
    place.Run("QVCODECPATH=" FIXTURE_ROOT " @ codecs", 0, "file too short", "does not end",
              "SetPosition is missing", "decodes nothing", "Create failed");
    place.Run("d=c/Codecs/Bin/decoder; mkdir -p $d/folder.so && mkfifo $d/fifo.so && "
              "s=" FIXTURE_ROOT "/Codecs/Bin/decoder/scripted.so && cp $s $d && "
              "for size in 1000 9000 -1; do head -c $size $s >$d/$size.so; done; "
              "QVCODECPATH=$PWD/c @ codecs | grep -o ': usable\\|it is .*' | sort | uniq -c",
              0, "1 : usable", "3 it is cut off", "2 it is not a regular file");
    place.Run("@ --help", 0, "Exit codes:");
    place.Run("@ convert --help", 0, "--start 1:30");
    place.Run("@ --version", 0, "aiffconv ");
    EXPECT_EQ(place.Run("@ --trace debug=t.txt convert in.aiff -o a.wav").err,
              "in.aiff -> a.wav\n");
    EXPECT_PRED2(Contains, place.Read("t.txt"), "->->  [Open]\r\n");
    place.Run("@ info bad* --trace error", 1, "  [ScanFile]\r\n");
    // Without QVCODECPATH the plug-in of the build tree is found.
    place.Run("unset QVCODECPATH; @ info in.aiff");
}

} // namespace
