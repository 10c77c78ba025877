#include "TagBuilder.h"
#include "tags/id3parser/Serialize.h"

#include <gtest/gtest.h>

#include <stdexcept>

using id3parser::FrameId;
using id3parser::t_frame;
using id3parser::t_tag;
using id3parser::writeError;

namespace
{

t_tag TagOf(id3parser::t_tagRevision revision,
            const std::vector<std::pair<uint32_t, std::string>>& frames)
{
    t_tag tag;
    tag.Reset(revision);
    for (const auto& [id, body] : frames)
        tag.AddFrame(id)->data.set_data_fromptr(body.data(), body.size());
    return tag;
}

std::string Written(const t_tag& tag, uint64_t available = 0, uint64_t maxPadding = 0,
                    size_t alignment = 1)
{
    id3parser::streamOutBuffer out;
    tag.Write(out, available, maxPadding, alignment);
    return S(out.bytes);
}

std::string FramesOf(const t_tag& tag)
{
    std::string text;
    for (const t_frame& frame : tag.Frames())
        text += IdText(frame.id) + "=" + S(frame.data.view()) + " ";
    return text;
}

constexpr uint32_t kPriv = FrameId("PRIV"), kTit2 = FrameId("TIT2");

TEST(Serializer, WritesFramesOfBothRevisions)
{
    const std::string body = "A\xFF\xE0";
    EXPECT_EQ(Written(TagOf(id3parser::kRevision3, {{kPriv, body}})),
              "ID3\3\0\0\0\0\0\x0D"s + FrameBytes(3, "PRIV", body));
    EXPECT_EQ(Written(TagOf(id3parser::kRevision4, {{kPriv, body}})),
              "ID3\4\0\x80\0\0\0\x12"s + "PRIV\0\0\0\x08\0\3\0\0\0\3A\xFF\0\xE0"s);
    EXPECT_EQ(Written(TagOf(id3parser::kRevision4, {{kPriv, "A\xFF\0B"s}})),
              "ID3\4\0\x80\0\0\0\x0E"s + FrameBytes(4, "PRIV", "A\xFF\0B"s));
}

TEST(Serializer, PaddingFillsTheRoomOrStaysSmall)
{
    struct Case {
        uint64_t available, maxPadding;
        size_t alignment, written;
    };
    const Case cases[] = {{4096, 8192, 1, 4096},
                          {50, 8192, 1, 110 + 2048},
                          {4096, 1000, 1, 110 + 1000},
                          {8192, 4000, 1, 110 + 2048},
                          {110, 8192, 1, 110},
                          {0, 0, 512, 512},
                          {111, 1, 2, 112},
                          {0, 0, 2, 110}};
    const t_tag tag = TagOf(id3parser::kRevision3, {{kPriv, std::string(90, 'x')}});
    for (const Case& c : cases) {
        const std::string bytes = Written(tag, c.available, c.maxPadding, c.alignment);
        EXPECT_EQ(bytes.size(), c.written) << c.available;
        EXPECT_EQ(bytes.substr(6, 4), SizeBytes(c.written - 10, 7, 4)) << c.available;
        EXPECT_EQ(bytes.find_first_not_of('\0', 110), std::string::npos) << c.available;
    }
}

TEST(Serializer, RefusesWhatTheFormatCannotHold)
{
    for (const auto revision : {id3parser::kRevisionNone, id3parser::kRevision2}) {
        id3parser::streamOutBuffer out;
        EXPECT_THROW(TagOf(revision, {}).Write(out, 0, 0, 1), writeError);
        EXPECT_TRUE(out.bytes.empty());
    }
    id3parser::streamOutBuffer out;
    EXPECT_THROW(id3parser::write_big_endian(out, 0x10000000), writeError);
    EXPECT_THROW(id3parser::write_sync_safe_integer(out, 0x10000000), writeError);
    EXPECT_THROW(id3parser::safeDowncast(0x100000000), std::overflow_error);
    EXPECT_TRUE(out.bytes.empty());
    id3parser::write_big_endian(out, 0x0FFFFFFE);
    id3parser::write_sync_safe_integer(out, 0x0FFFFFFE);
    EXPECT_EQ(S(out.bytes), "\x0F\xFF\xFF\xFE\x7F\x7F\x7F\x7E");
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

struct SetterCase {
    const char (&id)[5];
    uint8_t encoding;
    std::string body;
};

TEST(Setters, BuildBodies)
{
    const std::string text = "a\xC3\xA9";
    const SetterCase cases[] = {{"TIT2", 0, "\0a\xE9\0"s},
                                {"TIT2", 1, "\1"s + Utf16(u"a\u00E9")},
                                {"TIT2", 3, "\3" + text + "\0"s},
                                {"COMM", 0, "\0enga\xE9\0"s},
                                {"USLT", 1, "\1eng"s + Utf16(u"a\u00E9")}};
    id3parser::tagCreateContext context;
    for (const SetterCase& c : cases) {
        t_frame frame(FrameId(c.id));
        context.encoding = c.encoding;
        frame.SetAsString(text + "\0tail"s, context);
        EXPECT_EQ(S(frame.data.view()), c.body) << c.id << int{c.encoding};
        frame.AddString(text);
        std::string added;
        frame.GetAsString(true && c.encoding != 0, added, 1);
        EXPECT_EQ(added, text) << c.id << int{c.encoding};
    }
    t_frame frame(kTit2);
    context.encoding = 2;
    EXPECT_THROW(frame.SetAsString("a", context), writeError);
    EXPECT_THROW(frame.AddString("a"), id3parser::parseError);
    frame.SetAsNumeric("2004");
    EXPECT_EQ(S(frame.data.view()), "\0"s
                                    "2004\0"s);
    frame.SetAsURL("http://\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(S(frame.data.view()), "http://\xE9?");
    context.encoding = 0;
    frame.SetAsURLEx("d", "u\xE2\x82\xAC", context);
    EXPECT_EQ(S(frame.data.view()), "\0d\0u\x80"s);
    const uint8_t data[] = {1, 2};
    frame.setPicture(4, "image/png", "d", data, 2);
    EXPECT_EQ(frame.id, id3parser::kFrameAPIC);
    EXPECT_EQ(S(frame.data.view()), "\0image/png\0\4d\0\1\2"s);
}

TEST(Revision, AChangeKeepsPicturesCommentsAndLyrics)
{
    const std::string picture = "\3image/png\0\3d\0x"s;
    const auto tag = [&] {
        return TagOf(id3parser::kRevision4, {{id3parser::kFrameCOMM, "\3deud\0t\0"s},
                                             {kTit2, Text("a")},
                                             {id3parser::kFrameAPIC, picture},
                                             {id3parser::kFrameUSLT, "\0engl\0t"s},
                                             {id3parser::kFrameCOMM, "\3en"s},
                                             {id3parser::kFrameCOMM, "\5eng\0\0"s}});
    };
    t_tag older = tag();
    older.SetRevision(id3parser::kRevision3);
    EXPECT_EQ(FramesOf(older),
              "COMM=\1deu"s + Utf16(u"d") + Utf16(u"t") + " APIC=" + picture + " USLT=\0engl\0t "s);
    t_tag same = tag();
    same.SetRevision(id3parser::kRevision4);
    EXPECT_EQ(same.Frames().size(), 6u);
}

TEST(Revision, PicturesGoLastWithFrontCoversFirst)
{
    const auto picture = [](char type) { return "\0\0"s + type + "\0x"s; };
    t_tag tag = TagOf(id3parser::kRevision3, {{id3parser::kFrameAPIC, picture(4)},
                                              {kTit2, "1"},
                                              {id3parser::kFrameAPIC, picture(3)},
                                              {kPriv, "2"},
                                              {id3parser::kFrameAPIC, "broken"},
                                              {id3parser::kFrameAPIC, picture(3) + "y"}});
    tag.SanitizeAPICOrder();
    EXPECT_EQ(FramesOf(tag), "TIT2=1 PRIV=2 APIC=" + picture(3) + " APIC=" + picture(3) +
                                 "y APIC=" + picture(4) + " APIC=broken ");
    EXPECT_EQ(tag.RemoveFrameID(id3parser::kFrameAPIC), 4u);
    EXPECT_EQ(tag.RemoveFrames(id3parser::FIDFilter23date()), 0u);
    EXPECT_EQ(tag.RemoveFrames(id3parser::FIDFilterAny()), 2u);
}

} // namespace
