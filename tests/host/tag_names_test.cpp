// The tables of tag names and picture kinds: every row and column against the plug-in's
// own frames, and against the names that TagLib gives to them.

#include "TagReaders.h"

#include "host/writers/PictureKinds.h"
#include "host/writers/TagNames.h"

using namespace aiff;

namespace
{

// The frames that the plug-in writes itself judge those of WAV files, and the names under
// which TagLib finds these frames judge the comments of FLAC files.
TEST(TagNames, EveryFieldKeepsItsMeaningInWavAndFlacAndComesBack)
{
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(100)));
    Map fields;
    std::string arguments;
    for (const host::TagNames& names : host::AllTagNames()) {
        std::string& value = fields[std::string(names.field)];
        value = names.frame == "POPM"   ? "7"
                : names.frame == "TCON" ? "Jazz"
                                        : std::to_string(1950 + fields.size());
        arguments += " '" + std::string(names.field) + "=" + value + "'";
    }
    ASSERT_EQ(fields.size(), host::AllTagNames().size());
    place.Run("@ tags set in.aiff" + arguments + " && @ convert in.aiff -o out.wav && " +
              "@ convert in.aiff -o out.flac && @ encode out.flac -o back.aiff");
    EXPECT_EQ(Fields(place, "in.aiff"), fields);
    EXPECT_EQ(Fields(place, "back.aiff"), fields);

    AiffTags aiff(place, "back.aiff");
    WavTags wav(place, "out.wav");
    EXPECT_EQ(FramesOf(*wav.ID3v2Tag()).size(), fields.size());
    EXPECT_EQ(FramesOf(*wav.ID3v2Tag()), FramesOf(*aiff.tag()));

    Map comments = Properties(aiff.tag()->properties());
    comments.erase("ENCODING"); // what TagLib calls the frames TSSE and TIT1
    comments.erase("WORK");
    const Map others = {{"COMMERCIALINFORMATIONURL", "Commercial information"},
                        {"DISCSUBTITLE", "Set subtitle"},
                        {"ENCODERSETTINGS", "Encoder Settings"},
                        {"GROUPING", "Style"},
                        {"INVOLVEDPEOPLE", "Involved People"},
                        {"MUSICIANCREDITS", "Musician Credits"},
                        {"RATING", "Rating"}};
    for (const auto& [comment, field] : others) // those that it does not know or not so
        EXPECT_TRUE(comments.try_emplace(comment, fields[field]).second) << comment;
    EXPECT_EQ(Properties(FlacTags(place, "out.flac").properties()), comments);

    Map information;
    std::istringstream rows("IART=Artist ICMT=Comment ICOP=Copyright ICRD=Year IGNR=Genre "
                            "IMED=Source IMUS=Composer INAM=Title IPRD=Album IPRT=Track");
    for (std::string row; rows >> row;)
        information[row.substr(0, 4)] = fields.at(row.substr(5));
    information["ITCH"] = fields.at("Encoded by");
    size_t names = 0;
    for (const host::TagNames& row : host::AllTagNames())
        names += !row.info.empty();
    EXPECT_EQ(information.size(), names) << "two fields of one name";
    for (const auto& [id, text] : wav.InfoTag()->fieldListMap()) {
        EXPECT_EQ(information[TagLib::String(id).to8Bit()], Utf8(text));
        --names;
    }
    EXPECT_EQ(names, 0u);
}

TEST(TagNames, EveryAliasAndTotalIsUnderstood)
{
    // A comment of value 9 beside DISCNUMBER=1 and TRACKNUMBER=2, and what it becomes.
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"CONTENTGROUP", "Style", "9"},        {"DESCRIPTION", "Comment", "9"},
        {"DISCTOTAL", "Disc", "1/9"},          {"ENCODER", "Encoder Settings", "9"},
        {"ENCODING", "Encoder Settings", "9"}, {"ORGANIZATION", "Label", "9"},
        {"TOTALDISCS", "Disc", "1/9"},         {"TOTALTRACKS", "Track", "2/9"},
        {"TRACKTOTAL", "Track", "2/9"},
    };
    size_t names = 0;
    for (const host::TagNames& row : host::AllTagNames())
        for (const auto& list : {row.aliases, row.totals})
            names += list.size() - static_cast<size_t>(std::ranges::count(list, ""));
    EXPECT_EQ(std::size(cases), names) << "a name without a case";
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(100)));
    for (const auto& [comment, field, value] : cases) {
        place.Run("@ convert in.aiff -o in.flac --overwrite");
        {
            FlacTags flac(place, "in.flac");
            flac.xiphComment(true)->addField("DISCNUMBER", "1");
            flac.xiphComment()->addField("TRACKNUMBER", "2");
            flac.xiphComment()->addField(comment, "9");
            ASSERT_TRUE(flac.save());
        }
        place.Run("@ encode in.flac -o out.aiff --overwrite");
        Map fields = {{"Disc", "1"}, {"Track", "2"}};
        fields[field] = value;
        EXPECT_EQ(Fields(place, "out.aiff"), fields) << comment;
    }
    place.Run("@ tags set in.aiff Disc=1/9 Track=2/8 && @ convert in.aiff -o total.flac");
    const Map totals = {
        {"DISCNUMBER", "1"}, {"DISCTOTAL", "9"}, {"TRACKNUMBER", "2"}, {"TRACKTOTAL", "8"}};
    EXPECT_EQ(Properties(FlacTags(place, "total.flac").properties()), totals);
}

TEST(PictureKinds, EveryKindKeepsItsTypeInWavAndFlacAndComesBack)
{
    // In the order of their numbers in ID3v2 and FLAC; 17, a fish, has no name.
    std::istringstream options("other icon other-icon front back leaflet media lead-artist artist "
                               "conductor band composer writer location recording performance "
                               "video - illustration artist-logo publisher-logo");
    const Names names(std::istream_iterator<std::string>(options), {});
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(100)));
    const std::string picture = "\x89PNG\r\n\x1A\n" + Str(Noise(92));
    place.Write("p.png", picture);
    Names expected;
    for (const host::PictureKind& kind : host::PictureKinds()) {
        EXPECT_EQ(names.at(kind.type), kind.option);
        // Described with its type, which the plug-in's frames show to be right.
        const std::string type = std::to_string(kind.type);
        place.Run("@ tags art set in.aiff p.png --type " + std::string(kind.option) +
                  " --description " + type);
        const bool comesFirst = kind.type == 3; // the front cover
        expected.insert(comesFirst ? expected.begin() : expected.end(),
                        type + " image/png 100 " + type);
    }
    place.Run("@ convert in.aiff -o out.wav && @ convert in.aiff -o out.flac && "
              "@ encode out.flac -o back.aiff");
    EXPECT_EQ(Pictures(*AiffTags(place, "in.aiff").tag()), expected);
    EXPECT_EQ(Pictures(*AiffTags(place, "back.aiff").tag()), expected);
    EXPECT_EQ(Pictures(*WavTags(place, "out.wav").ID3v2Tag()), expected);
    FlacTags flac(place, "out.flac");
    EXPECT_EQ(Pictures(flac), expected);
    for (const char* file : {"out.wav", "out.flac", "back.aiff"})
        EXPECT_PRED2(Contains, place.Read(file), picture);
}

} // namespace
