// What convert makes of tags, with TagLib as the independent reader.

#include "TagReaders.h"

namespace
{

const std::string kPng = "\x89PNG\r\n\x1A\n" + Str(Noise(3001));

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
