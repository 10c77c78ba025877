// SPDX-License-Identifier: MIT
#include "TagBuilder.h"
#include "support/TempDir.h"
#include "support/file/DiskFile.h"
#include "tags/TagFields.h"
#include "tags/TagID3v2.h"

#include <gtest/gtest.h>

namespace
{

// A tag between other bytes of a file.
class TagInAFile : public testing::Test
{
protected:
    TagID3v2 Open(const std::string& tag)
    {
        m_path = m_dir.Write("f", Text("before" + tag + "after!"));
        std::error_code error;
        return {DiskFile::Open(m_path, DiskFile::Access::ReadWrite, error), 6};
    }

    // What is between the other bytes now.
    std::string Between() const
    {
        const std::string all = S(ReadFile(m_path));
        const bool framed = all.starts_with("before") && all.ends_with("after!");
        return framed ? all.substr(6, all.size() - 12) : "other bytes changed: " + all;
    }

private:
    TempDir m_dir;
    std::string m_path;
};

TEST_F(TagInAFile, GrowsShrinksAndGoes)
{
    TagID3v2 tag = Open("");
    tag.SetOption(ID3v2Option::kEncodeUni);
    tag.SetOption(L"unknown");
    tag.SetAlign(2);
    EXPECT_FALSE(tag.HasTag());
    ASSERT_TRUE(tag.Write(ListOf(L"Title=a"), false));
    EXPECT_EQ(Between(), S(TagOf(3, Frames(3, "TIT2^a") + "\0"s)));
    EXPECT_EQ(tag.WrittenSize(), 28);
    EXPECT_TRUE(tag.HasTag());
    ASSERT_TRUE(tag.Write(ListOf(L"Album=bcd;Title="), false));
    EXPECT_EQ(Between(), S(TagOf(3, Frames(3, "TALB^bcd") + "\0"s)));
    NTag list;
    ASSERT_TRUE(tag.Read(list));
    EXPECT_EQ(Content(list), L"TagVersion=ID3v2.3;Album=bcd;");
    ASSERT_TRUE(tag.DeleteATag(L"ALBUM"));
    EXPECT_EQ(Between(), S(TagOf(3, "")));
    for (int time = 0; time < 2; ++time) {
        EXPECT_TRUE(tag.DeleteAllTags());
        EXPECT_EQ(Between(), "");
    }
    EXPECT_STREQ(tag.GetTagName(), L"ID3v2");
}

TEST_F(TagInAFile, TakesItsPadByteAlong)
{
    for (const unsigned alignment : {1u, 2u}) {
        TagID3v2 tag = Open(S(Tag(3, "TIT2:ab")) + "\0"s);
        tag.SetAlign(alignment);
        ASSERT_TRUE(tag.DeleteAllTags());
        EXPECT_EQ(Between(), alignment == 1 ? "\0"s : "") << alignment;
    }
}

TEST_F(TagInAFile, IsAsLargeAsItsHeaderSays)
{
    using Row = std::pair<Bytes, int64_t>;
    const Row rows[] = {Row(Text("ID3\3\0\0\x7F\x7F\x7F\x7F"s), 0x0FFFFFFF + 10),
                        Row(TagOf(3, "", 0xE0, 129), 139), Row(TagOf(9, "", 0, 0), 10),
                        Row(TagOf(4, "", 0x10, 1), 21),
                        // What is no header.
                        Row(TagOf(3, "", 1, 129), 0), Row(TagOf(4, "", 8, 129), 0),
                        Row(Text("ID3\3\0\0\0\0\x80\1"s), 0), Row(Text("id3\3\0\0\0\0\1\1"s), 0),
                        Row(Text("ID3\3\0\0\0\0\1"s), 0)};
    for (const auto& [header, size] : rows)
        EXPECT_EQ(TagSizeFromHeader(header), size) << S(header);
    EXPECT_EQ(Open(S(TagOf(4, "", 0x10, 300))).GetID3v2TagSize(), 320);
}

} // namespace
