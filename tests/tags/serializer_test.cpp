#include "TagBuilder.h"
#include "tags/id3parser/frames/Serialize.h"

#include <gtest/gtest.h>

using namespace aiff;

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
    const std::tuple<uint64_t, uint64_t, size_t, size_t> rows[] = {{4096, 8192, 1, 4096},
                                                                   {4096, 3986, 1, 4096},
                                                                   {50, 8192, 1, 110 + 2048},
                                                                   {4096, 1000, 1, 110 + 1000},
                                                                   {8192, 4000, 1, 110 + 2048},
                                                                   {110, 8192, 1, 110},
                                                                   {0, 0, 512, 512},
                                                                   {111, 1, 2, 112},
                                                                   {0, 0, 2, 110}};
    const std::string note = "PRIV=" + std::string(90, 'x');
    const t_tag tag = TagWith(id3parser::kRevision3, note);
    for (const auto& [available, maxPadding, alignment, written] : rows) {
        id3parser::streamOutBuffer out;
        tag.Write(out, available, maxPadding, alignment);
        const Bytes expected = TagOf(3, Frames(3, note) + std::string(written - 110, '\0'));
        EXPECT_EQ(out.bytes, expected) << available;
    }
    id3parser::streamOutBuffer out;
    TagWith(id3parser::kRevision4, "PRIV=A\xFF\xE0").Write(out, 0, 0, 1);
    EXPECT_EQ(out.bytes, Tag(4, "PRIV[0003]=\0\0\0\3A\xFF\0\xE0"s, 0x80));
}

TEST(Serializer, WritesNothingOfATagThatCannotBeExpressed)
{
    t_tag old = TagWith(id3parser::kRevision2, "TIT2:a");
    id3parser::streamOutBuffer out;
    EXPECT_THROW(old.Write(out, 0, 0, 1), id3parser::writeError);
    // Padding counts for the size, too.
    t_tag tag = TagWith(id3parser::kRevision3, "TIT2:a");
    EXPECT_THROW(tag.Write(out, (1 << 28) + 64, 1 << 29, 1), id3parser::writeError);
    EXPECT_THROW(tag.Write(out, uint64_t{1} << 33, uint64_t{1} << 33, 1), std::overflow_error);
    EXPECT_EQ(out.bytes, Bytes());
}

TEST(Serializer, AChangeOfRevisionKeepsPicturesCommentsAndLyrics)
{
    const std::string kept = "APIC:x\0\3\0p|USLT:deud\0l"s;
    t_tag tag = TagWith(id3parser::kRevision4, "TIT2:a|COMM=\3deu\0\xC3\xA9|PRIV=x|"s + kept);
    tag.SetRevision(id3parser::kRevision4);
    EXPECT_EQ(tag.Frames().size(), 5u);
    tag.SetRevision(id3parser::kRevision3);
    EXPECT_EQ(NotesOf(tag), "COMM=\1deu" + Utf16(u"") + Utf16(u"\u00E9") + "|" + kept);
    EXPECT_EQ(tag.Revision(), id3parser::kRevision3);
}

TEST(Serializer, FiltersSelectTheFramesThatAreRemoved)
{
    const std::string notes = "TYER:2004|TIT2:a|TDAT:1503|TIT2:b";
    t_tag tag = TagWith(id3parser::kRevision3, notes);
    EXPECT_EQ(tag.RemoveFrameID(id3parser::FrameId("TALB")), 0u);
    EXPECT_EQ(tag.RemoveFrameID(id3parser::FrameId("TIT2")), 2u);
    EXPECT_EQ(NotesOf(tag), "TYER:2004|TDAT:1503");
    tag = TagWith(id3parser::kRevision3, notes);
    EXPECT_EQ(tag.RemoveFrames(id3parser::FIDFilter23date()), 2u);
    EXPECT_EQ(NotesOf(tag), "TIT2:a|TIT2:b");
    tag.Frames().back().Reset();
    EXPECT_EQ(NotesOf(tag), "TIT2:a|0=");
    EXPECT_EQ(tag.RemoveFrames(id3parser::FIDFilterAny()), 2u);
    EXPECT_EQ(NotesOf(tag), "");
}

TEST(Serializer, UnsynchronisationIsUndoneByReading)
{
    std::string data;
    for (int i = 0; i < 3000; ++i)
        data.append({'\xFF', static_cast<char>(i), '\0', '\xFF'});
    id3parser::streamInMem in(data.data(), data.size());
    id3parser::streamOutBuffer out;
    id3parser::unsync(in, out);
    EXPECT_FALSE(id3parser::test_for_false_sync(out.bytes.data(), out.bytes.size()));
    id3parser::streamInMem written(out.bytes);
    id3parser::streamFixSync fixed(written);
    std::string back(data.size() + 1, ' ');
    EXPECT_EQ(fixed.read(back.data(), back.size()), data.size());
    EXPECT_EQ(back.substr(0, data.size()), data);
}

} // namespace
