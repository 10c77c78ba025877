#include "TagBuilder.h"
#include "tags/id3parser/Serialize.h"

#include <stdexcept>

#include <gtest/gtest.h>

using id3parser::t_tag;
using id3parser::writeError;

namespace
{

t_tag TagWith(id3parser::t_tagRevision revision, const std::string& notes)
{
    t_tag tag;
    tag.Reset(revision);
    std::istringstream in(notes);
    for (std::string note; std::getline(in, note, '|');)
        tag.Frames().push_back(Frame(note));
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

TEST(Revision, AChangeKeepsPicturesCommentsAndLyrics)
{
    const std::string rest = "|APIC=\3image/png\0\3d\0x|USLT:engl\0t"s;
    const std::string notes = "COMM=\3deud\0t\0|TIT2:a"s + rest + "|COMM=\3en|COMM=\5eng\0\0"s;
    t_tag older = TagWith(id3parser::kRevision4, notes), same = older;
    older.SetRevision(id3parser::kRevision3);
    EXPECT_EQ(NotesOf(older), "COMM=\1deu" + Utf16(u"d") + Utf16(u"t") + rest);
    same.SetRevision(id3parser::kRevision4);
    EXPECT_EQ(NotesOf(same), notes);
}

TEST(Revision, PicturesGoLastWithFrontCoversFirst)
{
    t_tag tag = TagWith(id3parser::kRevision3, "APIC:\0\4\0x|TIT2=1|APIC:\0\3\0x|PRIV=2|"
                                               "APIC=broken|APIC:\0\3\0xy"s);
    tag.SanitizeAPICOrder();
    EXPECT_EQ(NotesOf(tag), "TIT2=1|PRIV=2|APIC:\0\3\0x|APIC:\0\3\0xy|APIC:\0\4\0x|APIC=broken"s);
    EXPECT_EQ(tag.RemoveFrameID(id3parser::kFrameAPIC), 4u);
    EXPECT_EQ(tag.RemoveFrames(id3parser::FIDFilter23date()), 0u);
    EXPECT_EQ(tag.RemoveFrames(id3parser::FIDFilterAny()), 2u);
}

} // namespace
