// SPDX-License-Identifier: MIT
#include "TagBuilder.h"
#include "support/TempDir.h"
#include "support/file/DiskFile.h"
#include "tags/TagFields.h"
#include "tags/TagID3v2.h"

#include <gtest/gtest.h>

namespace
{

TEST(TagID3v2, GrowsShrinksAndGoesBetweenOtherBytesOfAFile)
{
    const TempDir dir;
    const auto open = [&](const std::string& old) {
        std::error_code error;
        const std::string path = dir.Write("f", Text("before" + old + "after!"));
        return TagID3v2(DiskFile::Open(path, DiskFile::Access::ReadWrite, error), 6);
    };
    const auto holds = [&](const std::string& tag) {
        EXPECT_EQ(S(ReadFile(dir.Path("f"))), "before" + tag + "after!");
    };
    TagID3v2 tag = open("");
    tag.SetOption(ID3v2Option::kEncodeUni);
    tag.SetOption(L"unknown");
    tag.SetAlign(2);
    EXPECT_FALSE(tag.HasTag());
    ASSERT_TRUE(tag.Write(ListOf(L"Title=a"), false));
    holds(S(TagOf(3, Frames(3, "TIT2^a") + "\0"s)));
    EXPECT_EQ(tag.WrittenSize(), 28);
    EXPECT_TRUE(tag.HasTag());
    ASSERT_TRUE(tag.Write(ListOf(L"Album=bcd;Title="), false));
    holds(S(TagOf(3, Frames(3, "TALB^bcd") + "\0"s)));
    NTag list;
    ASSERT_TRUE(tag.Read(list));
    EXPECT_EQ(Content(list), L"TagVersion=ID3v2.3;Album=bcd;");
    ASSERT_TRUE(tag.DeleteATag(L"ALBUM"));
    holds(S(TagOf(3, "")));
    EXPECT_TRUE(tag.DeleteAllTags() && tag.DeleteAllTags());
    holds("");
    EXPECT_STREQ(tag.GetTagName(), L"ID3v2");
    for (const unsigned alignment : {1u, 2u}) { // with its pad byte
        tag = open(S(Tag(3, "TIT2:ab")) + "\0"s);
        tag.SetAlign(alignment);
        ASSERT_TRUE(tag.DeleteAllTags());
        holds(alignment == 1 ? "\0"s : "");
    }
}

TEST(TagID3v2, IsAsLargeAsItsHeaderSays)
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
}

} // namespace
