// SPDX-License-Identifier: MIT
#include "TagBuilder.h"
#include "tags/id3parser/frames/Serialize.h"

#include <gtest/gtest.h>

using id3parser::t_tag;

namespace
{

t_tag TagWith(id3parser::t_tagRevision revision, const std::string& notes)
{
    t_tag tag;
    tag.Reset(revision);
    std::istringstream in(notes);
    for (std::string note; std::getline(in, note, '|');)
        *tag.AddFrame(0) = Frame(note);
    return tag;
}

TEST(Serializer, PaddingFillsTheRoomOrStaysSmall)
{
    // The room, the most padding, the alignment and what is written.
    const std::tuple<uint64_t, uint64_t, size_t, size_t> rows[] = {
        {4096, 8192, 1, 4096}, {4096, 3986, 1, 4096}, {50, 8192, 1, 110 + 2048},
        {4096, 1000, 1, 1110}, {8192, 4000, 1, 2158}, {110, 8192, 1, 110},
        {0, 0, 512, 512},      {111, 1, 2, 112},      {0, 0, 2, 110}};
    const std::string note = "PRIV=" + std::string(90, 'x');
    for (const auto& [available, maxPadding, alignment, written] : rows) {
        id3parser::streamOutBuffer out;
        TagWith(id3parser::kRevision3, note).Write(out, available, maxPadding, alignment);
        const Bytes expected = TagOf(3, Frames(3, note) + std::string(written - 110, '\0'));
        EXPECT_EQ(out.bytes, expected) << available;
    }
}

TEST(Serializer, WritesNothingOfATagThatCannotBeExpressed)
{
    id3parser::streamOutBuffer out;
    EXPECT_THROW(TagWith(id3parser::kRevision2, "TIT2:a").Write(out, 0, 0, 1),
                 id3parser::writeError);
    // Padding counts for the size, too.
    const t_tag tag = TagWith(id3parser::kRevision3, "TIT2:a");
    EXPECT_THROW(tag.Write(out, (1 << 28) + 64, 1 << 29, 1), id3parser::writeError);
    EXPECT_THROW(tag.Write(out, uint64_t{1} << 33, uint64_t{1} << 33, 1), std::overflow_error);
    EXPECT_EQ(out.bytes, Bytes());
}

TEST(Serializer, AChangeOfRevisionKeepsPicturesCommentsAndLyrics)
{
    const std::string kept = "APIC:x~\3~p|USLT:deud~l";
    t_tag tag = TagWith(id3parser::kRevision4, "TIT2:a|COMM=\3deu~\xC3\xA9|PRIV=x|" + kept);
    tag.SetRevision(id3parser::kRevision4);
    EXPECT_EQ(tag.Frames().size(), 5u);
    tag.SetRevision(id3parser::kRevision3);
    EXPECT_EQ(NotesOf(tag),
              NotesOf(TagWith(id3parser::kRevision3,
                              "COMM=\1deu" + Utf16(u"") + Utf16(u"\u00E9") + "|" + kept)));
    EXPECT_EQ(tag.Revision(), id3parser::kRevision3);
}

TEST(Serializer, FiltersSelectTheFramesThatAreRemoved)
{
    t_tag tag = TagWith(id3parser::kRevision3, "TYER:2004|TIT2:a|TALB:b|TDAT:1503|TIT2:c");
    EXPECT_EQ(tag.RemoveFrameID(id3parser::FrameId("TIT3")), 0u);
    EXPECT_EQ(tag.RemoveFrameID(id3parser::FrameId("TIT2")), 2u);
    EXPECT_EQ(NotesOf(tag), "TYER:2004|TALB:b|TDAT:1503");
    EXPECT_EQ(tag.RemoveFrames(id3parser::FIDFilter23date()), 2u);
    EXPECT_EQ(NotesOf(tag), "TALB:b");
    tag.Frames().back().Reset();
    EXPECT_EQ(NotesOf(tag), "0=");
    EXPECT_EQ(tag.RemoveFrames(id3parser::FIDFilterAny()), 1u);
}

TEST(Serializer, UnsynchronisationIsUndoneByReading)
{
    std::string data;
    for (int i = 0; i < 3000; ++i)
        data.append({'\xFF', static_cast<char>(i), '\0', '\xFF'});
    id3parser::streamInMem in(data.data(), data.size());
    id3parser::streamOutBuffer out;
    id3parser::unsync(in, out);
    EXPECT_EQ(S(out.bytes), Unsynchronised(data));
    id3parser::streamInMem written(out.bytes);
    id3parser::streamFixSync fixed(written);
    std::string back(data.size() + 1, ' ');
    EXPECT_EQ(fixed.read(back.data(), back.size()), data.size());
    EXPECT_EQ(back.substr(0, data.size()), data);
}

} // namespace
