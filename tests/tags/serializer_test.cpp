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

} // namespace
