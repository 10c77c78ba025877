// aiffconv tags, and what convert makes of tags, with TagLib as the independent reader.

#include "TagReaders.h"

namespace
{

const std::string kPng = "\x89PNG\r\n\x1A\n" + Str(Noise(3001));
const std::string kJpeg = "\xFF\xD8\xFF\xE0" + Str(Noise(500));

TEST(Tags, SetRemoveAndClearFieldsOfSeveralFilesAndLeaveTheSoundAlone)
{
    const Workplace place;
    const std::string bare = Str(Aiff(1, 16, Noise(999 * 2)));
    for (const char* name : {"a.aiff", "b=c.aiff"})
        place.Write(name, bare);
    place.Write("bad.aiff", "no AIFF file at all");
    const Outcome set = place.Run(
        "@ tags set a.aiff bad.aiff missing.aiff b=c.aiff 'Title=T\xC3\xAFtle = 1' Artist=One "
        "artist=\xE6\x97\xA5 Own=x TagVersion=ID3v2.2 --set Year=2004-05-06",
        1, "bad.aiff: is not an AIFF file", "missing.aiff: No such file",
        "\"TagVersion\" cannot be changed", "a.aiff: \"Year\" reads back as \"2004\"");
    EXPECT_EQ(set.out, "a.aiff: set Title, Artist, Own, Year\n"
                       "b=c.aiff: set Title, Artist, Own, Year\n");
    EXPECT_EQ(place.Read("bad.aiff"), "no AIFF file at all");
    for (const char* name : {"a.aiff", "b=c.aiff"}) {
        const Map read = {{"ARTIST", "One/\xE6\x97\xA5"}, // joined so in version 2.3
                          {"DATE", "2004"},
                          {"OWN", "x"},
                          {"TITLE", "T\xC3\xAFtle = 1"}};
        EXPECT_EQ(Properties(AiffTags(place, name).tag()->properties()), read);
        EXPECT_TRUE(Contains(place.Read(name), bare.substr(12)));
    }
    EXPECT_EQ(Fields(place, "a.aiff")["Artist"], "One|\xE6\x97\xA5");
    const Outcome removed = place.Run("@ tags remove a.aiff own Nothing && @ tags set a.aiff "
                                      "Title= && @ tags remove b=c.aiff -n Year");
    EXPECT_EQ(removed.out, "a.aiff: removed own; has no Nothing\na.aiff: removed Title\n"
                           "b=c.aiff: removed Year\n");
    EXPECT_EQ(Fields(place, "a.aiff").size(), 2u); // Artist, Year
    place.Run("@ tags clear a.aiff b=c.aiff bad.aiff", 1);
    EXPECT_TRUE(place.Read("a.aiff") == bare && place.Read("b=c.aiff") == bare);
    place.Run("@ tags show a.aiff", 0, "a.aiff: no tags");
    const Json json = Json::parse(place.Run("@ tags show --json a.aiff bad.aiff", 1).out);
    EXPECT_EQ(json[0]["tags"].size(), 0u);
    EXPECT_PRED2(Contains, json[1]["error"], "is not an AIFF file");
}

TEST(Tags, PicturesGoInAreCopiedWithFieldsAndComeOutInsideTheFolder)
{
    const Workplace place;
    for (const char* name : {"a.aiff", "b.aiff", "c.aiff"})
        place.Write(name, Aiff(1, 16, Noise(100)));
    place.Write("p.png", kPng);
    place.Write("j.jpg", kJpeg);
    const auto pictures = [&](const std::string& name) {
        return Pictures(*AiffTags(place, name).tag());
    };
    place.Run("@ tags art set a.aiff b.aiff p.png --description '../up/d\xC3\xA9j\xC3\xA0' && "
              "@ tags art set a.aiff j.jpg --type back");
    const std::string front = "3 image/png 3009 ../up/d\xC3\xA9j\xC3\xA0";
    EXPECT_EQ(pictures("a.aiff"), (Names{front, "4 image/jpeg 504 "}));
    EXPECT_EQ(pictures("b.aiff"), Names{front});
    place.Run("@ tags set b.aiff Title=New Genre=Rock Genre=Pop Own=x && "
              "@ tags set c.aiff Title=Old Album=A");
    const Outcome copy = place.Run("@ tags copy b.aiff c.aiff");
    EXPECT_EQ(copy.out + copy.err, "c.aiff: copied 3 fields and 1 picture from b.aiff\n");
    Map expected = Fields(place, "b.aiff");
    expected["Album"] = "A";
    EXPECT_EQ(Fields(place, "c.aiff"), expected);
    EXPECT_EQ(pictures("c.aiff"), Names{front});
    // Existing files stay; with --overwrite too where they are links out of the folder.
    place.Run("@ tags art export a.aiff -o out");
    EXPECT_EQ(place.Read("out/1-front.png"), kPng);
    EXPECT_EQ(place.Read("out/2-back.jpg"), kJpeg);
    place.Write("out/1-front.png", "precious");
    place.Run("@ tags art export a.aiff -o out", 1);
    EXPECT_EQ(place.Read("out/1-front.png"), "precious");
    place.Run("@ tags art export a.aiff -o out --overwrite");
    EXPECT_EQ(place.Read("out/1-front.png"), kPng);
    place.Write("outside", "precious");
    place.Run("ln -sf ../outside out/1-front.png && @ tags art export a.aiff -o out --overwrite",
              1);
    EXPECT_EQ(place.Read("outside"), "precious");
    // A picture takes the place of those of its type only.
    place.Run("@ tags art set a.aiff j.jpg");
    Names kinds = pictures("a.aiff");
    std::sort(kinds.begin(), kinds.end());
    EXPECT_EQ(kinds, (Names{"3 image/jpeg 504 ", "4 image/jpeg 504 "}));
}

TEST(Convert, CarriesTagsAndPicturesToFlacAndAfterTheSamplesOfWav)
{
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 8, Noise(3001))); // an odd number of bytes
    place.Write("p.png", kPng);
    place.Run("@ tags set in.aiff Title=T\xC3\xAFtle Artist=One Artist=Two Track=3/12 Comment=c "
              "'Comment Mood=m' Own=x Year=2004 Rating=10 Lyrics=l "
              "'User defined URL link Home=http://x' && "
              "@ tags art set in.aiff p.png --type back --description d");
    for (const char* name : {"flac", "wav"})
        place.Run(std::string("@ convert in.aiff -o out.") + name +
                  " && @ convert in.aiff -o bare." + name + " --no-tags");
    place.Run("@ convert in.aiff -o - | cmp - out.wav");

    FlacTags flac(place, "out.flac"), bare(place, "bare.flac");
    EXPECT_EQ(flac.audioProperties()->sampleFrames(), 3001);
    const Map comments = {{"ARTIST", "One|Two"}, {"COMMENT", "c"},          {"COMMENT:MOOD", "m"},
                          {"DATE", "2004"},      {"LYRICS", "l"},           {"OWN", "x"},
                          {"RATING", "10"},      {"TITLE", "T\xC3\xAFtle"}, {"TRACKNUMBER", "3"},
                          {"TRACKTOTAL", "12"},  {"URL:HOME", "http://x"}};
    EXPECT_EQ(Properties(flac.properties()), comments);
    EXPECT_EQ(Pictures(flac), Names{"4 image/png 3009 d"});
    EXPECT_TRUE(bare.xiphComment()->isEmpty() && bare.pictureList().isEmpty());

    const std::string plain = place.Read("bare.wav");
    const std::string out = place.Read("out.wav");
    EXPECT_EQ(out.substr(8, plain.size() - 8), plain.substr(8));
    EXPECT_EQ(TagLib::ByteVector(&out[4], 4).toUInt(false) + 8, out.size());
    EXPECT_TRUE(ReadSamples(place.Path("out.wav")) == ReadSamples(place.Path("bare.wav")));
    WavTags wav(place, "out.wav");
    ASSERT_TRUE(wav.hasID3v2Tag() && wav.hasInfoTag());
    EXPECT_EQ(Utf8(wav.InfoTag()->title()), "T\xC3\xAFtle");
    const Map frames = {{"TIT2", "T\xC3\xAFtle"},
                        {"TPE1", "One/Two"},
                        {"TRCK", "3/12"},
                        {"TDRC", "2004"},
                        {"COMM", "c"},
                        {"USLT", "l"},
                        {"WXXX", "[Home] http://x"},
                        {"TXXX", "[Own] x"},
                        {"POPM", "Windows Media Player 9 Series rating=255 counter=0"},
                        {"APIC", "d [image/png]"}};
    EXPECT_EQ(FramesOf(*wav.ID3v2Tag()), frames);
    EXPECT_EQ(wav.ID3v2Tag()->frameList("COMM").size(), 2u);
    EXPECT_EQ(Pictures(*wav.ID3v2Tag()), Names{"4 image/png 3009 d"});
}

} // namespace
