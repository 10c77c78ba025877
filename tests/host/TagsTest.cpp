// aiffconv tags, with TagLib as the independent reader.

#include "HostHarness.h"

#include <aifffile.h>
#include <attachedpictureframe.h>
#include <gtest/gtest.h>
#include <id3v2tag.h>
#include <nlohmann/json.hpp>
#include <tpropertymap.h>
#include <unistd.h>

namespace
{

using Json = nlohmann::json;
using Names = std::vector<std::string>;

const std::string kPng = std::string("\x89PNG\r\n\x1A\n") + Noise(3001);
const std::string kJpeg = "\xFF\xD8\xFF\xE0" + Noise(500);

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// Values of a property, separated by "|".
std::string Property(const Workplace& place, const std::string& file, const std::string& name)
{
    TagLib::RIFF::AIFF::File aiff(place.Path(file).c_str(), false);
    return aiff.tag()->properties()[name].toString("|").to8Bit(true);
}

// "3 image/png 3009 text" for each picture, in their order.
Names Pictures(const Workplace& place, const std::string& file)
{
    TagLib::RIFF::AIFF::File aiff(place.Path(file).c_str(), false);
    Names pictures;
    for (const auto* frame : aiff.tag()->frameList("APIC")) {
        const auto* art = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frame);
        pictures.push_back(std::to_string(art->type()) + " " + art->mimeType().to8Bit() + " " +
                           std::to_string(art->picture().size()) + " " +
                           art->description().to8Bit(true));
    }
    return pictures;
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
    const std::string bare = Aiff(1, 16, Noise(999 * 2));
    for (const char* name : {"a.aiff", "b=c.aiff"})
        place.Write(name, bare);
    place.Write("bad.aiff", "no AIFF file at all");
    const Outcome set = place.Run("@ tags set a.aiff bad.aiff missing.aiff b=c.aiff "
                                  "'Title=T\xC3\xAFtle = 1' Artist=One artist=Two Own=x "
                                  "TagVersion=ID3v2.2 --set Year=2004-05-06");
    EXPECT_EQ(set.exitCode, 1);
    EXPECT_EQ(set.out, "a.aiff: set Title, Artist, Own, Year\nb=c.aiff: set Title, Artist, Own, "
                       "Year\n");
    EXPECT_TRUE(Contains(set.err, "bad.aiff: is not an AIFF file")) << set.err;
    EXPECT_TRUE(Contains(set.err, "missing.aiff: No such file")) << set.err;
    EXPECT_TRUE(Contains(set.err, "\"TagVersion\" only informs")) << set.err;
    EXPECT_TRUE(Contains(set.err, "a.aiff: \"Year\" reads back as \"2004\"")) << set.err;
    EXPECT_EQ(place.Read("bad.aiff"), "no AIFF file at all");
    for (const char* name : {"a.aiff", "b=c.aiff"}) {
        EXPECT_EQ(Property(place, name, "TITLE"), "T\xC3\xAFtle = 1");
        EXPECT_EQ(Property(place, name, "ARTIST"), "One/Two"); // how version 2.3 says it
        EXPECT_EQ(Property(place, name, "OWN"), "x");
        EXPECT_EQ(Property(place, name, "TAGVERSION"), "");
        EXPECT_TRUE(place.Read(name).starts_with(bare.substr(0, 4)));
        EXPECT_TRUE(Contains(place.Read(name), bare.substr(12)));
    }
    EXPECT_EQ(Shown(place, "a.aiff")["Artist"], (Json{"One", "Two"}));
    const Outcome removed = place.Run("@ tags remove a.aiff own Nothing && @ tags set a.aiff "
                                      "Title= && @ tags remove b=c.aiff -n Year");
    EXPECT_EQ(removed.exitCode, 0) << removed.err;
    EXPECT_EQ(removed.out, "a.aiff: removed own; has no Nothing\na.aiff: removed Title\n"
                           "b=c.aiff: removed Year\n");
    EXPECT_EQ(Shown(place, "a.aiff").size(), 3u); // TagVersion, Artist, Year
    EXPECT_EQ(place.Run("@ tags clear a.aiff b=c.aiff bad.aiff").exitCode, 1);
    EXPECT_EQ(place.Read("a.aiff"), bare);
    EXPECT_EQ(place.Read("b=c.aiff"), bare);
    EXPECT_TRUE(Contains(place.Run("@ tags show a.aiff").out, "a.aiff: no tags"));
    const Json json = Json::parse(place.Run("@ tags show --json a.aiff bad.aiff").out);
    EXPECT_EQ(json[0]["tags"].size(), 0u);
    EXPECT_TRUE(Contains(json[1]["error"], "is not an AIFF file"));
}

TEST(Tags, RefuseWhatTheyCannotCarryOutBeforeTouchingAnyFile)
{
    const Workplace place;
    const std::string aiff = Aiff(1, 16, Noise(100));
    place.Write("a.aiff", aiff);
    ASSERT_EQ(place.Run("@ tags set a.aiff Title=Old").exitCode, 0);
    const std::string tagged = place.Read("a.aiff");
    place.Write("pic.png", kPng);
    place.Write("text.png", "no picture");
    struct Case {
        const char* arguments;
        int exitCode;
        const char* reason;
    };
    const Case cases[] = {
        {"set a.aiff Title=\xF0\x9F\x8E\xB5", 2, "beyond U+FFFF"},
        {"set a.aiff Title=\xFF", 2, "is not UTF-8"},
        {"set missing=1.aiff a.aiff Title=x", 2, "the files must come first"},
        {"set a.aiff Title=x a.aiff", 2, "stands behind 'Title=x'"},
        {"set a.aiff", 2, "nothing to set"},
        {"set a.aiff TagVersion=x", 2, "nothing to set"},
        {"set a.aiff =x", 2, "is no NAME=VALUE"},
        {"set a.aiff _cdtoc=x", 2, "are no fields"},
        {"set Title=x", 2, "the files must come first"},
        {"remove a.aiff ''", 2, "without a name"},
        {"remove a.aiff", 2, "no field to remove"},
        {"remove a.aiff Title missing.aiff", 2, "stands behind 'Title'"},
        {"remove a.aiff Nothing missing", 0, ""},
        {"copy a.aiff", 2, "TO"},
        {"copy missing.aiff a.aiff", 1, "No such file"},
        {"set http://127.0.0.1:1/a.aiff Title=x", 1, "cannot be opened: connection refused"},
        {"art set a.aiff text.png", 1, "is neither a PNG nor a JPEG"},
        {"art set a.aiff none.png", 1, "No such file"},
        {"art set a.aiff pic.png --type nose", 2, "front, back"},
        {"art export a.aiff -o x", 1, "has no pictures"},
        {"frobnicate a.aiff", 2, ""},
        {"", 2, "subcommand"},
    };
    for (const Case& row : cases) {
        const Outcome run = place.Run(std::string("@ tags ") + row.arguments);
        EXPECT_EQ(run.exitCode, row.exitCode) << row.arguments << run.err;
        EXPECT_TRUE(Contains(run.err, row.reason)) << run.err;
        EXPECT_EQ(place.Read("a.aiff"), tagged) << row.arguments;
    }
    EXPECT_EQ(place.Names(), (Names{"a.aiff", "pic.png", "text.png"}));
    // An edit that the decoder refuses says why.
    std::filesystem::permissions(place.Path("a.aiff"), std::filesystem::perms{0444});
    if (geteuid() != 0) {
        const Outcome readOnly = place.Run("@ tags set a.aiff Title=x");
        EXPECT_TRUE(Contains(readOnly.err, "a.aiff: cannot be changed: Permission denied"));
    }
    std::string unfinished = aiff;
    unfinished.replace(4, 4, std::string(4, '\0'));
    place.Write("unfinished.aiff", unfinished + Noise(70000));
    const Outcome refused = place.Run("@ tags set unfinished.aiff Title=x");
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(Contains(refused.err, "is left as it is: no sound data was found")) << refused.err;
}

TEST(Tags, PicturesGoInAndComeOutUnderNamesInsideTheFolder)
{
    const Workplace place;
    for (const char* name : {"a.aiff", "b.aiff"})
        place.Write(name, Aiff(1, 16, Noise(100)));
    place.Write("p.png", kPng);
    place.Write("j.jpg", kJpeg);
    EXPECT_EQ(
        place.Run("@ tags art set a.aiff b.aiff p.png --description '../up/d\xC3\xA9j\xC3\xA0'")
            .exitCode,
        0);
    EXPECT_EQ(place.Run("@ tags art set a.aiff j.jpg --type back").exitCode, 0);
    const std::string front = "3 image/png 3009 ../up/d\xC3\xA9j\xC3\xA0";
    EXPECT_EQ(Pictures(place, "a.aiff"), (Names{front, "4 image/jpeg 504 "}));
    EXPECT_EQ(Pictures(place, "b.aiff"), Names{front});
    const Outcome out = place.Run("@ tags art export a.aiff -o out");
    EXPECT_EQ(out.exitCode, 0) << out.err;
    EXPECT_EQ(place.Read("out/1-front.png"), kPng);
    EXPECT_EQ(place.Read("out/2-back.jpg"), kJpeg);
    // Existing files stay; with --overwrite too where they are links out of the folder.
    place.Write("out/1-front.png", "precious");
    EXPECT_EQ(place.Run("@ tags art export a.aiff -o out").exitCode, 1);
    EXPECT_EQ(place.Read("out/1-front.png"), "precious");
    EXPECT_EQ(place.Run("@ tags art export a.aiff -o out --overwrite").exitCode, 0);
    EXPECT_EQ(place.Read("out/1-front.png"), kPng);
    place.Write("outside", "precious");
    std::filesystem::remove(place.Path("out/1-front.png"));
    std::filesystem::create_symlink("../outside", place.Path("out/1-front.png"));
    EXPECT_EQ(place.Run("@ tags art export a.aiff -o out --overwrite").exitCode, 1);
    EXPECT_EQ(place.Read("outside"), "precious");
    // A picture takes the place of those of its type only.
    EXPECT_EQ(place.Run("@ tags art set a.aiff j.jpg").exitCode, 0);
    Names types;
    for (const std::string& picture : Pictures(place, "a.aiff"))
        types.push_back(picture.substr(0, 12));
    std::sort(types.begin(), types.end());
    EXPECT_EQ(types, (Names{"3 image/jpeg", "4 image/jpeg"}));
}

TEST(Tags, CopyTakesFieldsAndPicturesAlongAndKeepsWhatElseIsThere)
{
    const Workplace place;
    for (const char* name : {"from.aiff", "to.aiff"})
        place.Write(name, Aiff(1, 16, Noise(100)));
    place.Write("p.png", kPng);
    EXPECT_EQ(place
                  .Run("@ tags set from.aiff Title=New Genre=Rock Genre=Pop Own=x && "
                       "@ tags art set from.aiff p.png && @ tags set to.aiff Title=Old Album=A")
                  .exitCode,
              0);
    const Outcome copy = place.Run("@ tags copy from.aiff to.aiff");
    EXPECT_EQ(copy.out, "to.aiff: copied 3 fields and 1 picture from from.aiff\n");
    EXPECT_EQ(copy.err, "");
    Json expected = Shown(place, "from.aiff");
    expected["Album"] = Json{"A"};
    EXPECT_EQ(Shown(place, "to.aiff"), expected);
    EXPECT_EQ(Property(place, "to.aiff", "TITLE"), "New");
    EXPECT_EQ(Pictures(place, "to.aiff"), Names{"3 image/png 3009 "});
}

} // namespace
