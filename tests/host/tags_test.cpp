// aiffconv tags, and what convert makes of tags, with TagLib as the independent reader.

#include "HostHarness.h"

#include <aifffile.h>
#include <attachedpictureframe.h>
#include <flacfile.h>
#include <id3v2tag.h>
#include <tpropertymap.h>
#include <wavfile.h>
#include <xiphcomment.h>

namespace
{

const std::string kPng = "\x89PNG\r\n\x1A\n" + Str(Noise(3001));
const std::string kJpeg = "\xFF\xD8\xFF\xE0" + Str(Noise(500));

// A picture of TagLib's as "4 image/png 3009 text".
template <class Picture>
std::string PictureText(const Picture& picture, const TagLib::ByteVector& data)
{
    return std::to_string(picture.type()) + " " + picture.mimeType().to8Bit() + " " +
           std::to_string(data.size()) + " " + picture.description().to8Bit(true);
}
Names Pictures(const TagLib::ID3v2::Tag* tag)
{
    Names pictures;
    for (const auto* frame : tag->frameList("APIC")) {
        const auto& art = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame&>(*frame);
        pictures.push_back(PictureText(art, art.picture()));
    }
    return pictures;
}

// All properties, as "NAME=value|value" lines.
std::string Properties(const TagLib::PropertyMap& properties)
{
    std::string lines;
    for (const auto& [name, values] : properties)
        lines += name.to8Bit(true) + "=" + values.toString("|").to8Bit(true) + "\n";
    return lines;
}

Json Shown(const Workplace& place, const std::string& file)
{
    const Json files = Json::parse(place.Run("@ tags show --json " + file).out);
    Json fields;
    for (const Json& item : files[0]["tags"])
        fields[std::string(item["name"])] = item.value("values", Json());
    return fields;
}

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
        TagLib::RIFF::AIFF::File aiff(place.Path(name).c_str(), false);
        EXPECT_EQ(Properties(aiff.tag()->properties()), // version 2.3 joins artists so
                  "ARTIST=One/\xE6\x97\xA5\nDATE=2004\nOWN=x\nTITLE=T\xC3\xAFtle = 1\n");
        EXPECT_TRUE(Contains(place.Read(name), bare.substr(12)));
    }
    EXPECT_EQ(Shown(place, "a.aiff")["Artist"], (Json{"One", "\xE6\x97\xA5"}));
    EXPECT_EQ(place
                  .Run("@ tags remove a.aiff own Nothing && @ tags set a.aiff Title= && "
                       "@ tags remove b=c.aiff -n Year")
                  .out,
              "a.aiff: removed own; has no Nothing\na.aiff: removed Title\n"
              "b=c.aiff: removed Year\n");
    EXPECT_EQ(Shown(place, "a.aiff").size(), 3u); // TagVersion, Artist, Year
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
        TagLib::RIFF::AIFF::File aiff(place.Path(name).c_str(), false);
        return Pictures(aiff.tag());
    };
    place.Run("@ tags art set a.aiff b.aiff p.png --description '../up/d\xC3\xA9j\xC3\xA0' && "
              "@ tags art set a.aiff j.jpg --type back");
    const std::string front = "3 image/png 3009 ../up/d\xC3\xA9j\xC3\xA0";
    EXPECT_EQ(pictures("a.aiff"), (Names{front, "4 image/jpeg 504 "}));
    EXPECT_EQ(pictures("b.aiff"), Names{front});
    place.Run("@ tags set b.aiff Title=New Genre=Rock Genre=Pop Own=x && "
              "@ tags set c.aiff Title=Old Album=A");
    const Outcome copy = place.Run("@ tags copy b.aiff c.aiff");
    EXPECT_EQ(copy.out, "c.aiff: copied 3 fields and 1 picture from b.aiff\n");
    EXPECT_EQ(copy.err, "");
    Json expected = Shown(place, "b.aiff");
    expected["Album"] = Json{"A"};
    EXPECT_EQ(Shown(place, "c.aiff"), expected);
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

TEST(Convert, CarriesTagsAndPicturesToFlacAndBehindTheSamplesOfWav)
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

    TagLib::FLAC::File flac(place.Path("out.flac").c_str());
    EXPECT_EQ(flac.audioProperties()->sampleFrames(), 3001);
    EXPECT_EQ(Properties(flac.xiphComment()->properties()),
              "ARTIST=One|Two\nCOMMENT=c\nCOMMENT MOOD=m\nDATE=2004\nLYRICS=l\nOWN=x\nRATING=10\n"
              "TITLE=T\xC3\xAFtle\nTRACKNUMBER=3\nTRACKTOTAL=12\n"
              "USER DEFINED URL LINK HOME=http://x\n");
    ASSERT_EQ(flac.pictureList().size(), 1u);
    EXPECT_EQ(PictureText(*flac.pictureList().front(), flac.pictureList().front()->data()),
              "4 image/png 3009 d");
    TagLib::FLAC::File bare(place.Path("bare.flac").c_str());
    EXPECT_TRUE(bare.xiphComment()->isEmpty() && bare.pictureList().isEmpty());

    const std::string plain = place.Read("bare.wav");
    const std::string out = place.Read("out.wav");
    EXPECT_EQ(out.substr(8, plain.size() - 8), plain.substr(8));
    EXPECT_EQ(TagLib::ByteVector(&out[4], 4).toUInt(false) + 8, out.size());
    EXPECT_TRUE(ReadSamples(place.Path("out.wav")) == ReadSamples(place.Path("bare.wav")));
    TagLib::RIFF::WAV::File wav(place.Path("out.wav").c_str());
    ASSERT_TRUE(wav.hasID3v2Tag() && wav.hasInfoTag());
    EXPECT_EQ(wav.InfoTag()->title().to8Bit(true), "T\xC3\xAFtle");
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
        ASSERT_FALSE(wav.ID3v2Tag()->frameList(id).isEmpty()) << id;
        EXPECT_EQ(wav.ID3v2Tag()->frameList(id).front()->toString().to8Bit(true), text) << id;
    }
    EXPECT_EQ(wav.ID3v2Tag()->frameList("COMM").size(), 2u);
    EXPECT_EQ(Pictures(wav.ID3v2Tag()), Names{"4 image/png 3009 d"});
}

} // namespace
