// SPDX-License-Identifier: MIT

// Every edit of every layout.

#include "edits/EditHarness.h"
#include "support/Sndfile.h"

namespace
{

using LayoutTest = PluginTest;

// The samples of 16 bits as libsndfile gives them.
std::vector<int32_t> SoundOf(const Layout& layout)
{
    std::vector<int32_t> samples;
    for (const Chunk& chunk : layout.others)
        for (size_t at = 8; chunk.code == "SSND" && at + 1 < chunk.data.size(); at += 2)
            samples.push_back(chunk.data[at] << 24 | chunk.data[at + 1] << 16);
    return samples;
}

TEST_F(LayoutTest, EditsKeepEverythingElseAndTagLibReadsThem)
{
    for (const Layout& layout : EditableLayouts())
        for (Edit edit : AllEdits()) {
            SCOPED_TRACE(layout.name + ": " + edit.name);
            const std::string path = File(layout.file);
            EXPECT_EQ(ApplyEdit(plugin, path, edit, &report), 1);
            const Bytes bytes = ReadFile(path);
            EXPECT_EQ(WhatIsWrong(layout, edit, bytes), "");
            const bool isSet = edit.kind == Edit::Set;
            if (!isSet && !layout.hasTag)
                continue;
            if (const std::vector<int32_t> sound = SoundOf(layout); !sound.empty()) {
                EXPECT_EQ(Content(ReadTags(plugin, path)), isSet ? Content(edit.items) : L"");
                EXPECT_EQ(ReadSamples(path).values, sound);
            }
            EXPECT_EQ(FilesIn(dir), 1);
            EXPECT_EQ(report.Take(kError).find("left as it"), std::string::npos);
            // Once more: nothing is left to be done.
            EXPECT_EQ(ApplyEdit(plugin, path, edit, &report), 1);
            EXPECT_EQ(ReadFile(path), bytes);
            std::string frames = isSet ? "TIT2New|" : "";
            frames += edit.items.FindElement(L"Artist") != nullptr ? "TPE1Me/You|" : "";
            frames += layout.hasForeign && edit.kind != Edit::DeleteAll ? kForeignText : "";
            frames += edit.items.FindElement(kCover) != nullptr ? "APIC[image/png]|" : "";
            EXPECT_EQ(SeenByTagLib(bytes).first, frames);
        }
}

TEST_F(LayoutTest, RefusedEditsLeaveTheFileAndSayWhy)
{
    for (const Layout& layout : RefusedLayouts())
        for (const Edit& edit : AllEdits()) {
            SCOPED_TRACE(layout.name + ": " + edit.name);
            const std::string path = File(layout.file);
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
    if (!std::filesystem::is_directory(Corpus()))
        GTEST_SKIP() << "no folder of real files; AIFF_CORPUS names one";
    for (const auto& entry : std::filesystem::directory_iterator(Corpus())) {
        const Bytes before = ReadFile(entry.path().string());
        if (before.size() < 12 || Text("FORM") != Bytes(before.begin(), before.begin() + 4))
            continue;
        SCOPED_TRACE(entry.path().filename().string());
        const bool isRefused = entry.path().filename() == "padded24b.aif";
        const std::string path = File(before);
        const auto sound = [&] {
            Instance host(plugin);
            return host.Open(path, 1) == 1 ? host.Rest() : Bytes();
        };
        const Bytes soundBefore = sound();
        for (const Edit& edit : AllEdits()) {
            const int32_t result = ApplyEdit(plugin, path, edit);
            EXPECT_TRUE(!isRefused || edit.kind != Edit::Set || result == 0) << edit.name;
            if (result == 0)
                EXPECT_EQ(ReadFile(path), before);
            else if (ReadFile(path) != before)
                EXPECT_NO_THROW((void)WalkStrictly(ReadFile(path))) << edit.name;
            EXPECT_EQ(sound(), soundBefore) << edit.name;
        }
    }
}

} // namespace
