// Every edit of every layout.

#include "Layouts.h"
#include "support/Sndfile.h"

#include <aifffile.h>
#include <attachedpictureframe.h>
#include <id3v2tag.h>
#include <tpropertymap.h>

namespace
{

using LayoutTest = PluginTest;

// The samples of 16 bits as libsndfile gives them.
std::vector<int32_t> SoundOf(const Layout& layout)
{
    std::vector<int32_t> samples;
    for (const Chunk& chunk : layout.others)
        for (size_t at = 8; chunk.code == "SSND" && at + 1 < chunk.data.size(); at += 2)
            samples.push_back(static_cast<int32_t>(uint32_t{chunk.data[at]} << 24 |
                                                   uint32_t{chunk.data[at + 1]} << 16));
    return samples;
}

// What TagLib says against what was set.
void CompareWithTagLib(const std::string& path, const Layout& layout, const Edit& edit)
{
    TagLib::RIFF::AIFF::File file(path.c_str(), false);
    ASSERT_TRUE(file.isValid());
    ASSERT_EQ(file.hasID3v2Tag(),
              edit.kind == Edit::Set || (edit.kind == Edit::Delete && layout.hasTag));
    const auto& frames = file.tag()->frameListMap();
    EXPECT_EQ(frames.contains("GEOB"), file.hasID3v2Tag() && layout.hasForeign);
    const auto frame = [&](const char* id) {
        const auto found = frames.find(id);
        return found == frames.end() || found->second.size() != 1
                   ? TagLib::String("none")
                   : found->second.front()->toString();
    };
    EXPECT_EQ(frame("TIT2"), edit.kind == Edit::Set ? "New" : "none");
    EXPECT_EQ(frame("TPE1"), ValueOf(edit.items, L"Artist").empty() ? "none" : "Me/You");
    const XStr cover = ValueOf(edit.items, kCover);
    if (cover.empty())
        return;
    ASSERT_EQ(frames["APIC"].size(), 1U);
    const auto& picture =
        dynamic_cast<TagLib::ID3v2::AttachedPictureFrame&>(*frames["APIC"].front());
    const TagLib::ByteVector data = picture.picture();
    EXPECT_EQ(Bytes(data.begin(), data.end()), Bytes(cover.begin(), cover.end()));
    EXPECT_EQ(picture.mimeType(), "image/png");
}

TEST_F(LayoutTest, EditsKeepEverythingElse)
{
    for (const Layout& layout : EditableLayouts())
        for (const Edit& edit : AllEdits()) {
            SCOPED_TRACE(layout.name + ": " + edit.name);
            const std::string path = dir.Write("a.aiff", layout.file);
            EXPECT_EQ(ApplyEdit(plugin, path, edit, &report), 1);
            const Bytes edited = ReadFile(path);
            if (edit.kind != Edit::Set && !layout.hasTag) {
                EXPECT_EQ(edited, layout.file);
                continue;
            }
            EXPECT_EQ(WhatIsWrong(layout, edit, edited), "");
            CompareWithTagLib(path, layout, edit);
            if (const std::vector<int32_t> sound = SoundOf(layout); !sound.empty()) {
                EXPECT_EQ(WhatReadsWrong(plugin, path, layout, edit), "");
                EXPECT_EQ(ReadSamples(path).values, sound);
            }
            EXPECT_EQ(FilesIn(dir), 1);
            EXPECT_EQ(report.Take(kError).find("left as it"), std::string::npos);
            // Once more: nothing is left to be done.
            EXPECT_EQ(ApplyEdit(plugin, path, edit, &report), 1);
            EXPECT_EQ(ReadFile(path), edited);
        }
}

// The output of a program that reads files; its lines.
std::vector<std::string> LinesOf(const std::string& command)
{
    std::vector<std::string> lines;
    FILE* const output = popen(command.c_str(), "r");
    char line[256];
    while (output != nullptr && fgets(line, sizeof line, output) != nullptr)
        lines.emplace_back(line, strcspn(line, "\n"));
    return output != nullptr && pclose(output) == 0 ? lines : std::vector<std::string>();
}

// A third opinion: mutagen, in one process for all files.
TEST_F(LayoutTest, MutagenReadsWhatWasSet)
{
    const std::string python = "/usr/bin/python3 ";
    if (LinesOf(python + "-c 'import mutagen.aiff; print(1)' 2>&1").size() != 1)
        GTEST_SKIP() << "mutagen is not installed";
    std::string files;
    std::vector<std::pair<std::string, std::string>> expected;
    for (const Layout& layout : EditableLayouts())
        for (const Edit& edit : AllEdits()) {
            const bool isSet = edit.kind == Edit::Set;
            // A file that stays as it is may be anything; mutagen knows "ID3 " alone.
            if ((!isSet && !layout.hasTag) || layout.name == "lower-case tag")
                continue;
            const std::string name = std::to_string(expected.size()) + ".aiff";
            ASSERT_EQ(ApplyEdit(plugin, dir.Write(name, layout.file), edit), 1);
            files += " " + dir.Path(name);
            expected.emplace_back(
                layout.name + ": " + edit.name,
                std::string(isSet ? "New" : "none") +
                    (ValueOf(edit.items, L"Artist").empty() ? " none" : " Me/You") +
                    (ValueOf(edit.items, kCover).empty() ? " none" : " 5005") +
                    (layout.hasForeign && edit.kind != Edit::DeleteAll ? " foreign" : " own"));
        }
    const std::vector<std::string> lines = LinesOf(python + AIFF_READ_TAGS + files);
    ASSERT_EQ(lines.size(), expected.size());
    for (size_t i = 0; i < lines.size(); ++i)
        EXPECT_EQ(lines[i], expected[i].second) << expected[i].first;
}

TEST_F(LayoutTest, RefusedEditsLeaveTheFileAndSayWhy)
{
    for (const Layout& layout : RefusedLayouts())
        for (const Edit& edit : AllEdits()) {
            SCOPED_TRACE(layout.name + ": " + edit.name);
            const std::string path = dir.Write("a.aiff", layout.file);
            (void)report.Take(kError);
            const int32_t result = ApplyEdit(plugin, path, edit, &report);
            EXPECT_EQ(ReadFile(path), layout.file);
            if (edit.kind == Edit::Set || layout.hasTag) {
                EXPECT_EQ(result, 0);
                EXPECT_NE(report.Take(kError).find("left as it is"), std::string::npos);
            }
            EXPECT_EQ(FilesIn(dir), 1);
        }
}

TEST_F(LayoutTest, RealFilesAreEditedOrRefusedWhole)
{
    size_t count = 0;
    for (const char* const folder : {static_cast<const char*>(AIFF_CORPUS_PATH),
                                     static_cast<const char*>(std::getenv("AIFF_CORPUS"))}) {
        if (folder == nullptr || !std::filesystem::is_directory(folder))
            continue;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const Bytes before = ReadFile(entry.path().string());
            if (before.size() < 12 || Text("FORM") != Bytes(before.begin(), before.begin() + 4))
                continue;
            ++count;
            SCOPED_TRACE(entry.path().filename().string());
            const bool lost = entry.path().filename() == "padded24b.aif";
            Instance host(plugin);
            const std::string path = dir.Write("a.aiff", before);
            const Bytes sound = host.Open(path, 1) == 1 ? host.Rest() : Bytes();
            for (const Edit& edit : AllEdits()) {
                const int32_t result = ApplyEdit(plugin, path, edit);
                EXPECT_TRUE(!lost || edit.kind != Edit::Set || result == 0) << edit.name;
                if (result == 0) {
                    EXPECT_EQ(ReadFile(path), before);
                } else if (ReadFile(path) != before) {
                    EXPECT_NO_THROW((void)WalkStrictly(ReadFile(path))) << edit.name;
                }
                Instance after(plugin);
                EXPECT_EQ(after.Open(path, 1) == 1 ? after.Rest() : Bytes(), sound) << edit.name;
            }
        }
    }
    if (count == 0)
        GTEST_SKIP() << "no corpus of real files";
}

} // namespace
