// aiffconv encode, and what it shares with convert; independent readers are the judges.

#include "HostHarness.h"
#include "support/ChunkWalker.h"

#include <fileref.h>
#include <flacfile.h>
#include <gtest/gtest.h>
#include <id3v2tag.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>
#include <tpropertymap.h>

namespace
{

using Json = nlohmann::json;
using Names = std::vector<std::string>;

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

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

WalkedForm Walk(const Workplace& place, const std::string& name)
{
    return WalkStrictly(Text(place.Read(name)));
}

TEST(Encode, EverySampleOfEverySourceArrivesInItsOwnWidth)
{
    struct Case {
        const char* name;
        int format, aiffSubtype;
    };
    const Case cases[] = {
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
    const bool probe = std::system("ffprobe -version >/dev/null 2>&1") == 0;
    for (const int channels : {1, 3}) {
        const Workplace place;
        for (const Case& row : cases) {
            WriteSound(place.Path(row.name), row.format, channels, 30001);
            Samples expected = ReadSamples(place.Path(row.name));
            ASSERT_EQ(expected.values.size(), 30001u * static_cast<size_t>(channels)) << row.name;
            const std::string in = row.name;
            Outcome run = place.Run("@ encode " + in +
                                    " -o out.aiff --overwrite && "
                                    "@ convert out.aiff -o back.wav --overwrite");
            EXPECT_EQ(run.exitCode, 0) << in << run.err;
            expected.format = SF_FORMAT_AIFF | row.aiffSubtype;
            EXPECT_TRUE(ReadSamples(place.Path("out.aiff")) == expected) << in << channels;
            EXPECT_TRUE(ReadSamples(place.Path("back.wav")).values == expected.values) << in;
            EXPECT_NO_THROW(Walk(place, "out.aiff")) << in;
            if (probe) {
                run = place.Run("ffprobe -v error -of csv=p=0 -show_entries "
                                "stream=sample_rate,channels,duration_ts out.aiff");
                EXPECT_EQ(run.out, "48000," + std::to_string(channels) + ",30001\n") << in;
            }
        }
    }
    if (!probe)
        std::printf("ffprobe is not there: its opinion was not asked\n");
}

TEST(Encode, ChunksOfAnAiffFileStayWhereTheyStood)
{
    const Workplace place;
    AiffBuilder source("AIFF");
    source.Chunk("NAME", Noise(5, 1)).Comm(2, 16, 22254.5454545).Chunk("MARK", Noise(40, 2));
    source.Ssnd(Noise(4 * 777, 1))
        .Chunk("ID3 ", Noise(33, 3))
        .Chunk("(c) ", Noise(2, 1))
        .Chunk("APPL", {});
    const Bytes bytes = source.Build();
    place.Write("in.aiff", {bytes.begin(), bytes.end()});
    ASSERT_EQ(place.Run("@ encode in.aiff -o out.aiff").exitCode, 0);
    EXPECT_EQ(Text(place.Read("out.aiff")), bytes); // the fraction of the rate included
    // Samples behind an offset stay there; a little-endian source changes its form.
    Bytes shifted = bytes;
    const size_t prefix = Walk(place, "in.aiff").Only("SSND").position + 8;
    shifted[prefix + 3] = 4;
    place.Write("in.aiff", {shifted.begin(), shifted.end()});
    ASSERT_EQ(place.Run("@ encode in.aiff -o out.aiff --overwrite").exitCode, 0);
    EXPECT_EQ(Walk(place, "out.aiff").Only("SSND").data, Walk(place, "in.aiff").Only("SSND").data);
    EXPECT_EQ(ReadSamples(place.Path("out.aiff")).values.size(), 2 * 776u);
}

TEST(Encode, TagsAndPicturesComeAlong)
{
    const Workplace place;
    WriteSound(place.Path("in.flac"), SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 2, 100);
    const std::string picture = "\x89PNG\r\n\x1a\n-a picture-";
    {
        TagLib::FLAC::File flac(place.Path("in.flac").c_str());
        TagLib::PropertyMap tags;
        tags["TITLE"] = TagLib::String("Ämne", TagLib::String::UTF8);
        tags["ARTIST"] = TagLib::StringList("One").append("AC/DC");
        tags["DATE"] = TagLib::String("2004-03-15");
        tags["TRACKNUMBER"] = TagLib::String("3");
        tags["TRACKTOTAL"] = TagLib::String("12");
        tags["MY FIELD"] = TagLib::String("mine");
        flac.setProperties(tags);
        auto* image = new TagLib::FLAC::Picture;
        image->setType(TagLib::FLAC::Picture::BackCover);
        image->setMimeType("image/png");
        image->setData(TagLib::ByteVector(picture.data(), static_cast<unsigned>(picture.size())));
        flac.addPicture(image);
        ASSERT_TRUE(flac.save());
    }
    ASSERT_EQ(place.Run("@ encode in.flac -o out.aiff && @ check out.aiff").exitCode, 0);
    const TagLib::FileRef read(place.Path("out.aiff").c_str());
    TagLib::PropertyMap tags = read.file()->properties();
    EXPECT_EQ(tags["TITLE"].front().to8Bit(true), "Ämne");
    EXPECT_EQ(tags["ARTIST"].toString("|").to8Bit(true), "One|AC/DC");
    EXPECT_EQ(tags["DATE"].front().to8Bit(true), "2004-03-15");
    EXPECT_EQ(tags["TRACKNUMBER"].front().to8Bit(true), "3/12");
    EXPECT_EQ(tags["MY FIELD"].front().to8Bit(true), "mine");
    EXPECT_FALSE(tags.contains("TRACKTOTAL"));
    const Bytes tag = Walk(place, "out.aiff").Only("ID3 ").data;
    EXPECT_TRUE(Contains({tag.begin(), tag.end()}, std::string("image/png\0\x04\0", 12) + picture));
    // The tag that a WAV file has already is handed on byte for byte.
    WriteSound(place.Path("in.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 100);
    {
        TagLib::FileRef wav(place.Path("in.wav").c_str());
        wav.tag()->setTitle("Wave");
        ASSERT_TRUE(wav.save());
    }
    ASSERT_EQ(place.Run("@ encode in.wav -o wave.aiff").exitCode, 0);
    const Bytes own = Walk(place, "wave.aiff").Only("ID3 ").data;
    EXPECT_TRUE(Contains(place.Read("in.wav"), {own.begin(), own.end()}));
    EXPECT_EQ(TagLib::FileRef(place.Path("wave.aiff").c_str()).tag()->title(), "Wave");
}

TEST(Encode, RefusesWhatItCannotWriteAndLeavesNothing)
{
    const Workplace place;
    WriteSound(place.Path("float.wav"), SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1, 10);
    WriteSound(place.Path("ok.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 500000);
    place.Write("text.wav", "no audio at all, only words");
    place.Write("law.aifc", Aiff(1, 8, "abc", "alaw"));
    const Names before = place.Names();
    struct Case {
        const char* command;
        int exitCode;
        const char* text;
    };
    const Case cases[] = {
        {"@ encode float.wav -o out.aiff", 1, "holds 32 bit float, and only integer PCM"},
        {"@ encode text.wav -o out.aiff", 1, "cannot be read as audio"},
        {"@ encode law.aifc -o out.aiff", 1, "holds audio coded as 'alaw'"},
        {"@ encode none.wav -o out.aiff", 1, "No such file"},
        {"@ encode http://x/a.wav -o out.aiff", 1, "is a URL"},
        {"@ encode ok.wav -o -", 2, "standard output"},
        {"@ encode ok.wav -o ok.wav --overwrite", 2, "is one of the inputs"},
        {"@ encode ok.wav -o /dev/null", 1, "is no file"},
        {"(ulimit -f 600; @ encode ok.wav -o out.aiff)", 1, "'out.aiff': File too large"},
        {"@ encode ok.wav -o out.aiff --skip-existing --overwrite", 2, "excludes"},
    };
    for (const Case& row : cases) {
        const Outcome run = place.Run(row.command);
        EXPECT_EQ(run.exitCode, row.exitCode) << row.command;
        EXPECT_TRUE(Contains(run.err, row.text)) << row.command << ": " << run.err;
        EXPECT_EQ(place.Names(), before) << row.command;
    }
}

TEST(Encode, RefusesFourGibibytesBeforeAnythingIsWritten)
{
    const Workplace place;
    // A sparse file: most of its sound takes no room on the disk.
    WriteSound(place.Path("in.rf64"), SF_FORMAT_RF64 | SF_FORMAT_PCM_U8, 1, 10);
    std::string header = place.Read("in.rf64");
    const size_t ds64 = header.find("ds64");
    ASSERT_NE(ds64, std::string::npos);
    const int64_t dataSize = int64_t{1} << 32;
    for (size_t i = 0; i < 8; ++i) {
        header[ds64 + 16 + i] = static_cast<char>(dataSize >> 8 * i); // data
        header[ds64 + 24 + i] = static_cast<char>(dataSize >> 8 * i); // frames
        header[ds64 + 8 + i] = static_cast<char>((dataSize + 100) >> 8 * i);
    }
    place.Write("in.rf64", header);
    std::filesystem::resize_file(place.Path("in.rf64"), static_cast<uintmax_t>(dataSize + 200));
    const Outcome run = place.Run("@ encode in.rf64 -o out.aiff");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(Contains(run.err, "cannot exceed 4 GiB")) << run.err;
    EXPECT_EQ(place.Names(), Names{"in.rf64"});
}

TEST(Batch, SkipsWhatIsThereAndTellsResultsAsLines)
{
    const Workplace place;
    WriteSound(place.Path("a.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 24000);
    std::string cut = place.Read("a.wav");
    cut.resize(1044);
    place.Write("b.wav", cut);
    place.Write("c.wav", "junk");
    std::filesystem::create_directory(place.Path("out"));
    place.Write("out/d.aiff", "precious");
    place.Write("d.wav", "not even looked at");
    const Outcome run = place.Run("@ encode a.wav b.wav c.wav d.wav -o out --skip-existing --json");
    EXPECT_EQ(run.exitCode, 1);
    std::map<std::string, Json> lines;
    std::istringstream text(run.out);
    for (std::string line; std::getline(text, line);)
        lines[Json::parse(line)["input"]] = Json::parse(line);
    ASSERT_EQ(lines.size(), 4u) << run.out;
    EXPECT_EQ(lines["a.wav"]["status"], "done");
    EXPECT_EQ(lines["a.wav"]["output"], "out/a.aiff");
    EXPECT_EQ(lines["a.wav"]["frames"], 24000);
    EXPECT_EQ(lines["a.wav"]["seconds"], 0.5);
    EXPECT_TRUE(lines["a.wav"]["problem"].is_null());
    EXPECT_EQ(lines["b.wav"]["status"], "damaged");
    EXPECT_EQ(lines["b.wav"]["frames"], 500);
    EXPECT_EQ(lines["c.wav"]["status"], "failed");
    EXPECT_TRUE(lines["c.wav"]["frames"].is_null());
    EXPECT_FALSE(lines["c.wav"]["problem"].get<std::string>().empty());
    EXPECT_EQ(lines["d.wav"]["status"], "skipped");
    EXPECT_EQ(place.Read("out/d.aiff"), "precious");
    EXPECT_EQ(place.Run("@ encode a.wav d.wav -o out --skip-existing").exitCode, 0);
    EXPECT_EQ(place.Run("@ convert out/a.aiff -o out/d.aiff --skip-existing --json").exitCode, 0);
    EXPECT_EQ(place.Run("@ convert out/a.aiff -o - --json").exitCode, 2);
}

// One job per file; a second run finds everything done.
TEST(Batch, RunsUnderGnuParallelAndResumes)
{
    if (std::system("parallel --version >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "GNU parallel is not there";
    const Workplace place;
    for (int i = 0; i < 12; ++i)
        place.Write("t" + std::to_string(i) + ".aiff", Aiff(1, 16, std::string(2000, 'x')));
    const std::string command = "ls t*.aiff | parallel --will-cite -j4 @ convert {} -o wav/ "
                                "--skip-existing --json > results.jsonl && sort -u results.jsonl | "
                                "wc -l && grep -c skipped results.jsonl";
    EXPECT_EQ(place.Run(command + " || true").out, "12\n0\n");
    std::filesystem::remove(place.Path("wav/t3.wav"));
    EXPECT_EQ(place.Run(command).out, "12\n11\n");
    EXPECT_TRUE(ReadSamples(place.Path("wav/t3.wav")).values ==
                ReadSamples(place.Path("t3.aiff")).values);
}

} // namespace
