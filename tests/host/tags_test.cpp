// SPDX-License-Identifier: MIT

// Where convert and encode leave tags, as TagLib reads them in AIFF, WAV and FLAC.

#include "HostHarness.h"

#include <taglib/aifffile.h>
#include <taglib/flacfile.h>
#include <taglib/infotag.h>
#include <taglib/tpropertymap.h>
#include <taglib/wavfile.h>

namespace
{

using Map = std::map<std::string, std::string>;

// Several values stand in one, with "|" between them.
Map Properties(const TagLib::PropertyMap& properties)
{
    Map map;
    for (const auto& [name, values] : properties)
        map[name.to8Bit(true)] = values.toString("|").to8Bit(true);
    return map;
}

// A file by its name in the folder.
template <class File>
struct Tagged : File {
    Tagged(const Workplace& place, const std::string& name) : File(place.Path(name).c_str()) {}
};
using AiffTags = Tagged<TagLib::RIFF::AIFF::File>;

TEST(Tags, EveryPropertyOfTagLibIsTheSameInWavAndFlacAndComesBack)
{
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 8, Noise(3001))); // an odd number of bytes
    Map expected;
    TagLib::PropertyMap properties;
    std::istringstream names(
        "ALBUM BPM COMPOSER COPYRIGHT ENCODINGTIME PLAYLISTDELAY ORIGINALDATE DATE RELEASEDATE "
        "TAGGINGDATE ENCODEDBY LYRICIST FILETYPE WORK TITLE SUBTITLE INITIALKEY LANGUAGE LENGTH "
        "MEDIA MOOD ORIGINALALBUM ORIGINALFILENAME ORIGINALLYRICIST ORIGINALARTIST OWNER ARTIST "
        "ALBUMARTIST CONDUCTOR REMIXER PRODUCEDNOTICE LABEL RADIOSTATION RADIOSTATIONOWNER "
        "ALBUMSORT COMPOSERSORT ARTISTSORT TITLESORT ALBUMARTISTSORT ISRC ENCODING DISCSUBTITLE "
        "COPYRIGHTURL FILEWEBPAGE ARTISTWEBPAGE AUDIOSOURCEWEBPAGE RADIOSTATIONWEBPAGE GENRE "
        "PAYMENTWEBPAGE PUBLISHERWEBPAGE COMMENT LYRICS URL PODCASTCATEGORY PODCASTDESC PODCASTID "
        "PODCASTKEYWORDS PODCASTURL MOVEMENTNAME MOVEMENTNUMBER GROUPING COMPILATION "
        "MUSICBRAINZ_ALBUMID MUSICBRAINZ_TRACKID ACOUSTID_ID ARRANGER ENGINEER PRODUCER DJMIXER "
        "MIXER PERFORMER:GUITAR COMMENT:MOOD MINE");
    for (std::string name; names >> name;) {
        expected[name] = (name == "ALBUM" ? "\u00E4 " : "value ") + std::to_string(expected.size());
        properties.insert(name, TagLib::String(expected[name], TagLib::String::UTF8));
    }
    {
        AiffTags aiff(place, "in.aiff");
        aiff.setProperties(properties);
        ASSERT_TRUE(aiff.save());
    }
    place.Run("@ convert in.aiff -o out.flac && @ convert in.aiff -o out.wav && "
              "@ encode out.flac -o back.aiff && @ convert in.aiff -o bare.wav --no-tags && "
              "@ convert in.aiff -o - | cmp - out.wav");
    EXPECT_EQ(Properties(AiffTags(place, "in.aiff").properties()), expected);
    EXPECT_EQ(Properties(Tagged<TagLib::FLAC::File>(place, "out.flac").properties()), expected);
    Tagged<TagLib::RIFF::WAV::File> wav(place, "out.wav");
    EXPECT_EQ(Properties(wav.ID3v2Tag()->properties()), expected);
    const Map info = {{"IPRD", "ALBUM"},     {"IART", "ARTIST"},    {"ICMT", "COMMENT"},
                      {"IMUS", "COMPOSER"},  {"ICOP", "COPYRIGHT"}, {"ICRD", "DATE"},
                      {"ITCH", "ENCODEDBY"}, {"IGNR", "GENRE"},     {"IMED", "MEDIA"},
                      {"INAM", "TITLE"}};
    EXPECT_EQ(wav.InfoTag()->fieldListMap().size(), info.size());
    for (const auto& [id, name] : info)
        EXPECT_EQ(wav.InfoTag()->fieldText(id.c_str()).to8Bit(true), expected[name]) << id;
    for (const char* role : {"ARRANGER", "ENGINEER", "PRODUCER", "DJMIXER", "MIXER"})
        expected.erase(role); // TagLib knows roles in capitals only; mutagen judges them
    EXPECT_EQ(Properties(AiffTags(place, "back.aiff").properties()), expected);

    // In WAV tags follow everything else.
    const std::string bare = place.Read("bare.wav"), out = place.Read("out.wav");
    EXPECT_EQ(out.substr(8, bare.size() - 8), bare.substr(8));
    EXPECT_EQ(TagLib::ByteVector(&out[4], 4).toUInt(false) + 8, out.size());
    const std::vector<int32_t> samples = Values(place, "in.aiff");
    for (const char* name : {"bare.wav", "out.wav", "out.flac", "back.aiff"})
        EXPECT_EQ(Values(place, name), samples) << name;
}

} // namespace
