#include "TagBuilder.h"
#include "support/TempDir.h"
#include "support/file/DiskFile.h"
#include "tags/TagID3v2.h"

#include <gtest/gtest.h>

using namespace aiff;

namespace
{

const std::string kBefore = "before", kAfter = "after!";

// A tag between other bytes of a file.
class TagInAFile : public testing::Test
{
protected:
    TagID3v2 Open(const std::string& tag)
    {
        m_path = m_dir.Write("f", Text(kBefore + tag + kAfter));
        std::error_code error;
        return {DiskFile::Open(m_path, DiskFile::Access::ReadWrite, error), std::ssize(kBefore)};
    }

    // What is between the other bytes now.
    std::string Between() const
    {
        const std::string all = S(ReadFile(m_path));
        const bool framed = all.starts_with(kBefore) && all.ends_with(kAfter);
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
    ASSERT_TRUE(tag.DeleteAllTags());
    EXPECT_EQ(Between(), "");
    EXPECT_TRUE(tag.DeleteAllTags());
    EXPECT_EQ(Between(), "");
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
    const std::tuple<const char*, Bytes, int64_t> rows[] = {
        {"2.3", TagOf(3, "", 0xE0, 300), 310},
        {"a footer", TagOf(4, "", 0x10, 300), 320},
        {"any version", TagOf(9, "", 0, 300), 310},
        {"an unknown flag", TagOf(4, "", 0x08, 300), 0},
        {"a size with a top bit", Text("ID3\3\0\0\0\0\x80\0"s), 0},
        {"another magic", Text("ID2\3\0\0\0\0\2\0"s), 0}};
    for (const auto& [name, bytes, size] : rows)
        EXPECT_EQ(Open(S(bytes)).GetID3v2TagSize(), size) << name;
}

} // namespace
