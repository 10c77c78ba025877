// SPDX-License-Identifier: MIT

// What convert makes of tags, with TagLib as the independent reader.

#include "TagReaders.h"

namespace
{

const std::string kPng = "\x89PNG\r\n\x1A\n" + Str(Noise(3001));

TEST(Convert, TagsChangeNoSampleAndAreWhereReadersLook)
{
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 8, Noise(3001))); // an odd number of bytes
    place.Run("@ tags set in.aiff Title=T\xC3\xAFtle Artist=One Artist=Two");
    for (const char* name : {"flac", "wav"})
        place.Run(std::string("@ convert in.aiff -o out.") + name +
                  " && @ convert in.aiff -o bare." + name + " --no-tags");
    place.Run("@ convert in.aiff -o - | cmp - out.wav");

    FlacTags flac(place, "out.flac"), bare(place, "bare.flac");
    EXPECT_EQ(flac.audioProperties()->sampleFrames(), 3001);
    const Map comments = {{"ARTIST", "One|Two"}, {"TITLE", "T\xC3\xAFtle"}}; // joined by "/"
    EXPECT_EQ(Properties(flac.properties()), comments);
    EXPECT_TRUE(bare.xiphComment()->isEmpty() && bare.pictureList().isEmpty());

    const std::string plain = place.Read("bare.wav");
    const std::string out = place.Read("out.wav");
    EXPECT_EQ(out.substr(8, plain.size() - 8), plain.substr(8));
    EXPECT_EQ(TagLib::ByteVector(&out[4], 4).toUInt(false) + 8, out.size());
    EXPECT_TRUE(ReadSamples(place.Path("out.wav")) == ReadSamples(place.Path("bare.wav")));
    WavTags wav(place, "out.wav");
    ASSERT_TRUE(wav.hasID3v2Tag() && wav.hasInfoTag());
    EXPECT_EQ(Utf8(wav.InfoTag()->title()), "T\xC3\xAFtle");
}

} // namespace
