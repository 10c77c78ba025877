// What convert makes of tags and formats; libsndfile and TagLib are the judges.

#include "HostHarness.h"

#include <attachedpictureframe.h>
#include <flacfile.h>
#include <gtest/gtest.h>
#include <id3v2tag.h>
#include <sndfile.h>
#include <tpropertymap.h>
#include <wavfile.h>
#include <xiphcomment.h>

namespace
{

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

std::string Joined(const TagLib::StringList& values)
{
    return values.toString("|").to8Bit(true);
}

// tagged.aiff in the place, with some of everything.
void MakeTagged(const Workplace& place, int bits)
{
    place.Write("tagged.aiff", Aiff(1, bits, Noise(static_cast<size_t>(3001 * bits / 8))));
    place.Write("p.png", std::string("\x89PNG\r\n\x1A\n") + Noise(3001));
    const Outcome run = place.Run("@ tags set tagged.aiff Title=T\xC3\xAFtle Artist=One Artist=Two "
                                  "Track=3/12 Comment=c 'Comment Mood=m' Own=x Year=2004 Rating=10 "
                                  "Lyrics=l 'User defined URL link Home=http://x' && "
                                  "@ tags art set tagged.aiff p.png --type back --description d");
    ASSERT_EQ(run.exitCode, 0) << run.err;
}

TEST(Convert, FlacHoldsTheSameSamplesAndTheTags)
{
    const Workplace place;
    const std::pair<int, int> widths[] = {
        {8, SF_FORMAT_PCM_S8}, {16, SF_FORMAT_PCM_16}, {24, SF_FORMAT_PCM_24}};
    for (const auto& [bits, subtype] : widths) {
        MakeTagged(place, bits);
        const Outcome run = place.Run("@ convert tagged.aiff -o out.flac --overwrite");
        EXPECT_EQ(run.exitCode, 0) << run.err;
        Samples expected = ReadSamples(place.Path("tagged.aiff"));
        expected.format = SF_FORMAT_FLAC | subtype;
        EXPECT_TRUE(ReadSamples(place.Path("out.flac")) == expected) << bits;
        // A pipe gets the same but for what is known only at the end.
        EXPECT_EQ(place.Run("@ convert tagged.aiff -o - --format flac -q >pipe.flac").exitCode, 0);
        EXPECT_EQ(place.Read("pipe.flac").substr(42), place.Read("out.flac").substr(42));
    }
    TagLib::FLAC::File flac(place.Path("out.flac").c_str());
    EXPECT_EQ(flac.audioProperties()->sampleFrames(), 3001);
    const std::pair<const char*, const char*> fields[] = {{"TITLE", "T\xC3\xAFtle"},
                                                          {"ARTIST", "One|Two"},
                                                          {"TRACKNUMBER", "3"},
                                                          {"TRACKTOTAL", "12"},
                                                          {"COMMENT", "c"},
                                                          {"COMMENT MOOD", "m"},
                                                          {"OWN", "x"},
                                                          {"DATE", "2004"},
                                                          {"TAGVERSION", ""}};
    for (const auto& [name, value] : fields)
        EXPECT_EQ(Joined(flac.xiphComment()->properties()[name]), value) << name;
    ASSERT_EQ(flac.pictureList().size(), 1u);
    const TagLib::FLAC::Picture* picture = flac.pictureList().front();
    EXPECT_EQ(picture->type(), TagLib::FLAC::Picture::BackCover);
    EXPECT_EQ(picture->mimeType(), "image/png");
    EXPECT_EQ(picture->description(), "d");
    EXPECT_EQ(picture->data().size(), 3009u);
    EXPECT_EQ(place.Run("@ convert tagged.aiff -o bare.flac --no-tags").exitCode, 0);
    TagLib::FLAC::File bare(place.Path("bare.flac").c_str());
    EXPECT_TRUE(bare.xiphComment()->isEmpty() && bare.pictureList().isEmpty());
}

TEST(Convert, WavHoldsTheTagsBehindTheSamples)
{
    const Workplace place;
    MakeTagged(place, 8); // an odd number of bytes
    ASSERT_EQ(place
                  .Run("@ convert tagged.aiff -o bare.wav --no-tags && "
                       "@ convert tagged.aiff -o out.wav && @ convert tagged.aiff -o - | "
                       "cmp - out.wav")
                  .exitCode,
              0);
    const std::string bare = place.Read("bare.wav");
    const std::string out = place.Read("out.wav");
    EXPECT_EQ(out.substr(8, bare.size() - 8), bare.substr(8));
    EXPECT_EQ(TagLib::ByteVector(&out[4], 4).toUInt(false) + 8, out.size());
    EXPECT_TRUE(ReadSamples(place.Path("out.wav")) == ReadSamples(place.Path("bare.wav")));
    TagLib::RIFF::WAV::File wav(place.Path("out.wav").c_str());
    ASSERT_TRUE(wav.hasID3v2Tag() && wav.hasInfoTag());
    EXPECT_EQ(wav.InfoTag()->title().to8Bit(true), "T\xC3\xAFtle");
    TagLib::ID3v2::Tag* tag = wav.ID3v2Tag();
    const std::pair<const char*, const char*> frames[] = {
        {"TIT2", "T\xC3\xAFtle"},
        {"TPE1", "One Two"},
        {"TRCK", "3/12"},
        {"TDRC", "2004"},
        {"COMM", "c"},
        {"USLT", "l"},
        {"WXXX", "[Home] http://x"},
        {"TXXX", "[Own] x"},
        {"POPM", "Windows Media Player 9 Series rating=255 counter=0"}};
    for (const auto& [id, text] : frames) {
        ASSERT_FALSE(tag->frameList(id).isEmpty()) << id;
        EXPECT_EQ(tag->frameList(id).front()->toString().to8Bit(true), text) << id;
    }
    EXPECT_EQ(tag->frameList("COMM").size(), 2u);
    const auto* art =
        dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(tag->frameList("APIC").front());
    EXPECT_EQ(art->type(), TagLib::ID3v2::AttachedPictureFrame::BackCover);
    EXPECT_EQ(art->picture().size(), 3009u);
}

TEST(Convert, ChoosesTheFormatByNameOrOption)
{
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(100)));
    place.Write("deep.aiff", Aiff(1, 32, Noise(400)));
    std::filesystem::create_directory(place.Path("dir.flac"));
    EXPECT_EQ(place
                  .Run("@ convert in.aiff -o A.FLAC && @ convert in.aiff -o b.flac --format wav &&"
                       "@ convert in.aiff -o d/ --format flac && @ convert in.aiff -o dir.flac")
                  .exitCode,
              0);
    const std::pair<const char*, const char*> starts[] = {
        {"A.FLAC", "fLaC"}, {"b.flac", "RIFF"}, {"d/in.flac", "fLaC"}, {"dir.flac/in.wav", "RIFF"}};
    for (const auto& [name, start] : starts)
        EXPECT_TRUE(place.Read(name).starts_with(start)) << name;
    const Outcome deep = place.Run("@ convert deep.aiff -o deep.flac");
    EXPECT_EQ(deep.exitCode, 1);
    EXPECT_TRUE(Contains(deep.err, "samples of 32 bits (FLAC takes 8, 16 and 24")) << deep.err;
    EXPECT_FALSE(std::filesystem::exists(place.Path("deep.flac")));
    EXPECT_EQ(place.Run("@ convert in.aiff -o x --format mp3").exitCode, 2);
    EXPECT_EQ(place.Run("@ convert in.aiff -o - --format flac >/dev/full").exitCode, 1);
}

TEST(Convert, SignedBytesOfLittleEndianFilesBecomeUnsigned)
{
    const Workplace place;
    for (const char* code : {"sowt", "SOWT", "NONE"}) {
        place.Write("in.aifc", Aiff(1, 8, Noise(3001), code));
        EXPECT_EQ(place.Run("@ convert in.aifc -o out.wav --overwrite").exitCode, 0);
        place.Write("in.aifc", Aiff(1, 8, Noise(3001), "sowt")); // libsndfile knows no SOWT
        EXPECT_EQ(ReadSamples(place.Path("out.wav")).values,
                  ReadSamples(place.Path("in.aifc")).values)
            << code;
    }
}

} // namespace
