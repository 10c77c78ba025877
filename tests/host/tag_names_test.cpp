// The tables of tag names and picture kinds: every row and column against the plug-in's
// own frames, and against the names that TagLib gives to them.

#include "HostHarness.h"

#include "host/writers/PictureKinds.h"
#include "host/writers/TagNames.h"

#include <aifffile.h>
#include <attachedpictureframe.h>
#include <flacfile.h>
#include <id3v2tag.h>
#include <infotag.h>
#include <tpropertymap.h>
#include <wavfile.h>
#include <xiphcomment.h>

using namespace aiff;

namespace
{

using Map = std::map<std::string, std::string>;

std::string Utf8(const TagLib::String& text)
{
    return text.to8Bit(true);
}

Map Frames(const TagLib::ID3v2::Tag& tag)
{
    Map frames;
    for (const TagLib::ID3v2::Frame* frame : tag.frameList()) {
        const TagLib::ByteVector id = frame->frameID();
        frames[std::string(id.data(), id.size())] = Utf8(frame->toString());
    }
    return frames;
}

Map Properties(const TagLib::PropertyMap& properties)
{
    Map map;
    for (const auto& [name, values] : properties)
        map[Utf8(name)] = Utf8(values.toString("|"));
    return map;
}

Map Fields(const Workplace& place, const std::string& file)
{
    const Json files = Json::parse(place.Run("@ tags show --json " + file).out);
    Map fields;
    for (const Json& item : files[0]["tags"])
        if (item["name"] != "TagVersion")
            fields[item["name"]] = item.value("value", "");
    return fields;
}

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

    TagLib::RIFF::AIFF::File aiff(place.Path("back.aiff").c_str(), false);
    TagLib::RIFF::WAV::File wav(place.Path("out.wav").c_str(), false);
    EXPECT_EQ(Frames(*wav.ID3v2Tag()).size(), fields.size());
    EXPECT_EQ(Frames(*wav.ID3v2Tag()), Frames(*aiff.tag()));

    Map comments = Properties(aiff.tag()->properties());
    comments.erase("ENCODING"); // what TagLib calls the frames TSSE and TIT1
    comments.erase("WORK");
    for (const auto& [comment, field] : // and those that it does not know or not so
         Map{{"COMMERCIALINFORMATIONURL", "Commercial information"},
             {"DISCSUBTITLE", "Set subtitle"},
             {"ENCODERSETTINGS", "Encoder Settings"},
             {"GROUPING", "Style"},
             {"INVOLVEDPEOPLE", "Involved People"},
             {"MUSICIANCREDITS", "Musician Credits"},
             {"RATING", "Rating"}})
        EXPECT_TRUE(comments.try_emplace(comment, fields[field]).second) << comment;
    TagLib::FLAC::File flac(place.Path("out.flac").c_str(), false);
    EXPECT_EQ(Properties(flac.xiphComment()->properties()), comments);

    Map information;
    for (const auto& [id, text] : wav.InfoTag()->fieldListMap())
        information[std::string(id.data(), id.size())] = Utf8(text);
    const auto hasInfo = [](const host::TagNames& names) { return !names.info.empty(); };
    EXPECT_EQ(std::ranges::count_if(host::AllTagNames(), hasInfo), std::ssize(information))
        << "two fields of one name";
    EXPECT_EQ(information, (Map{{"IART", fields["Artist"]},
                                {"ICMT", fields["Comment"]},
                                {"ICOP", fields["Copyright"]},
                                {"ICRD", fields["Year"]},
                                {"IGNR", fields["Genre"]},
                                {"IMED", fields["Source"]},
                                {"IMUS", fields["Composer"]},
                                {"INAM", fields["Title"]},
                                {"IPRD", fields["Album"]},
                                {"IPRT", fields["Track"]},
                                {"ITCH", fields["Encoded by"]}}));
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
    for (const host::TagNames& row : host::AllTagNames()) {
        for (const auto& list : {row.aliases, row.totals})
            names += list.size() - static_cast<size_t>(std::ranges::count(list, ""));
    }
    EXPECT_EQ(std::size(cases), names) << "a name without a case";
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(100)));
    for (const auto& [comment, field, value] : cases) {
        place.Run("@ convert in.aiff -o in.flac --overwrite");
        {
            TagLib::FLAC::File flac(place.Path("in.flac").c_str(), false);
            TagLib::Ogg::XiphComment& tag = *flac.xiphComment(true);
            tag.addField("DISCNUMBER", "1");
            tag.addField("TRACKNUMBER", "2");
            tag.addField(comment, "9");
            ASSERT_TRUE(flac.save());
        }
        place.Run("@ encode in.flac -o out.aiff --overwrite");
        Map fields = {{"Disc", "1"}, {"Track", "2"}};
        fields[field] = value;
        EXPECT_EQ(Fields(place, "out.aiff"), fields) << comment;
    }
    place.Run("@ tags set in.aiff Disc=1/9 Track=2/8 && @ convert in.aiff -o total.flac");
    TagLib::FLAC::File flac(place.Path("total.flac").c_str(), false);
    EXPECT_EQ(
        Properties(flac.xiphComment()->properties()),
        (Map{{"DISCNUMBER", "1"}, {"DISCTOTAL", "9"}, {"TRACKNUMBER", "2"}, {"TRACKTOTAL", "8"}}));
}

TEST(PictureKinds, EveryKindKeepsItsTypeInWavAndFlacAndComesBack)
{
    // By their numbers in ID3v2 and FLAC; 17, a fish, has no name.
    const Names options = {
        "other",        "icon",        "other-icon",    "front",       "back",  "leaflet",
        "media",        "lead-artist", "artist",        "conductor",   "band",  "composer",
        "writer",       "location",    "recording",     "performance", "video", "",
        "illustration", "artist-logo", "publisher-logo"};
    const Workplace place;
    place.Write("in.aiff", Aiff(1, 16, Noise(100)));
    place.Write("p.png", "\x89PNG\r\n\x1A\n");
    Names expected;
    for (const host::PictureKind& kind : host::PictureKinds()) {
        EXPECT_EQ(options.at(kind.type), kind.option);
        // Described with its type, which the plug-in's frames show to be right.
        const std::string type = std::to_string(kind.type);
        place.Run("@ tags art set in.aiff p.png --type " + std::string(kind.option) +
                  " --description " + type);
        const bool comesFirst = kind.type == 3; // the front cover
        expected.insert(comesFirst ? expected.begin() : expected.end(), type + "=" + type);
    }
    place.Run("@ convert in.aiff -o out.wav && @ convert in.aiff -o out.flac && "
              "@ encode out.flac -o back.aiff");
    TagLib::RIFF::AIFF::File aiff(place.Path("in.aiff").c_str(), false);
    TagLib::RIFF::AIFF::File back(place.Path("back.aiff").c_str(), false);
    TagLib::RIFF::WAV::File wav(place.Path("out.wav").c_str(), false);
    for (const auto* tag : {aiff.tag(), back.tag(), wav.ID3v2Tag()}) {
        Names pictures;
        for (const auto* frame : tag->frameList("APIC")) {
            const auto& art = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame&>(*frame);
            pictures.push_back(std::to_string(art.type()) + "=" + Utf8(art.description()));
        }
        EXPECT_EQ(pictures, expected);
    }
    TagLib::FLAC::File flac(place.Path("out.flac").c_str(), false);
    Names pictures;
    for (const auto* picture : flac.pictureList())
        pictures.push_back(std::to_string(picture->type()) + "=" + Utf8(picture->description()));
    EXPECT_EQ(pictures, expected);
}

} // namespace
