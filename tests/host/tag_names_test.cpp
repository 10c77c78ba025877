// SPDX-License-Identifier: MIT

// The names of text fields and the kinds of pictures in AIFF, WAV and FLAC, as TagLib reads
// them in all three.

#include "TagReaders.h"

#include "host/writers/PictureKinds.h"

using namespace aiff;

namespace
{

Names Words(const std::string& text)
{
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

TEST(TagNames, EveryPropertyOfTagLibIsTheSameInFlacAndComesBack)
{
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(100)));
    Map expected;
    TagLib::PropertyMap properties;
    for (const std::string& name :
         Words("ALBUM BPM COMPOSER COPYRIGHT ENCODINGTIME PLAYLISTDELAY ORIGINALDATE DATE "
               "RELEASEDATE TAGGINGDATE ENCODEDBY LYRICIST FILETYPE WORK TITLE SUBTITLE "
               "INITIALKEY LANGUAGE LENGTH MEDIA MOOD ORIGINALALBUM ORIGINALFILENAME "
               "ORIGINALLYRICIST ORIGINALARTIST OWNER ARTIST ALBUMARTIST CONDUCTOR REMIXER "
               "PRODUCEDNOTICE LABEL RADIOSTATION RADIOSTATIONOWNER ALBUMSORT COMPOSERSORT "
               "ARTISTSORT TITLESORT ALBUMARTISTSORT ISRC ENCODING DISCSUBTITLE COPYRIGHTURL "
               "FILEWEBPAGE ARTISTWEBPAGE AUDIOSOURCEWEBPAGE RADIOSTATIONWEBPAGE GENRE "
               "PAYMENTWEBPAGE PUBLISHERWEBPAGE COMMENT LYRICS URL PODCASTCATEGORY PODCASTDESC "
               "PODCASTID PODCASTKEYWORDS PODCASTURL MOVEMENTNAME MOVEMENTNUMBER GROUPING "
               "COMPILATION MUSICBRAINZ_ALBUMID MUSICBRAINZ_TRACKID ACOUSTID_ID ARRANGER "
               "ENGINEER PRODUCER DJMIXER MIXER PERFORMER:GUITAR COMMENT:MOOD MINE")) {
        const std::string value = "value " + std::to_string(expected.size());
        expected[name] = value;
        properties.insert(name, TagLib::String(value));
    }
    {
        AiffTags aiff(place, "in.aiff");
        aiff.setProperties(properties);
        ASSERT_TRUE(aiff.save());
    }
    place.Run("@ convert in.aiff -o out.flac && @ convert in.aiff -o out.wav && "
              "@ encode out.flac -o back.aiff");
    EXPECT_EQ(Properties(AiffTags(place, "in.aiff").properties()), expected);
    EXPECT_EQ(Properties(FlacTags(place, "out.flac").properties()), expected);
    WavTags wav(place, "out.wav");
    EXPECT_EQ(Properties(wav.ID3v2Tag()->properties()), expected);
    EXPECT_EQ(Utf8(wav.InfoTag()->album()), expected["ALBUM"]);
    for (const char* role : {"ARRANGER", "ENGINEER", "PRODUCER", "DJMIXER", "MIXER"})
        expected.erase(role); // TagLib knows roles in capitals only; mutagen judges them
    EXPECT_EQ(Properties(AiffTags(place, "back.aiff").properties()), expected);
}

TEST(PictureKinds, EveryOptionIsThePictureTypeOfItsName)
{
    // In the order of their numbers; 17, a fish, has no name.
    const Names names = Words("other icon other-icon front back leaflet media lead-artist artist "
                              "conductor band composer writer location recording performance "
                              "video - illustration artist-logo publisher-logo");
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(100)));
    place.Write("p.png", "\x89PNG\r\n\x1A\n" + Str(Noise(92)));
    std::set<std::string> expected;
    for (const host::PictureKind& kind : host::PictureKinds()) {
        EXPECT_EQ(names.at(kind.type), kind.option);
        const std::string type = std::to_string(kind.type);
        place.Run("@ tags art set in.aiff p.png --type " + std::string(kind.option) +
                  " --description " + type);
        expected.insert(type + " image/png 100 " + type);
    }
    const Names pictures = Pictures(*AiffTags(place, "in.aiff").tag());
    EXPECT_EQ(std::set(pictures.begin(), pictures.end()), expected);
}

} // namespace
