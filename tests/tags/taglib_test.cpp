// TagLib reads what is written here, and sees again what it had written itself.
#include "TagBuilder.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <taglib/aifffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/commentsframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/popularimeterframe.h>
#include <taglib/privateframe.h>

namespace TL = TagLib::ID3v2;

namespace
{

// The tag of a file as TagLib reads it; the file must stay.
struct LibTag {
    explicit LibTag(const Bytes& tag)
        : file(dir.Write("a.aiff", AiffBuilder().Comm(1, 8, 8000).Chunk("ID3 ", tag)).c_str())
    {
    }
    std::string Texts(const char* id) const
    {
        std::string text;
        for (const TL::Frame* frame : file.tag()->frameList(id))
            text.append("[").append(frame->toString().to8Bit(true)).append("]");
        return text;
    }
    // The first frame of its kind; throws when there is none.
    template <class Kind>
    const Kind& First(const char* id) const
    {
        return dynamic_cast<const Kind&>(*file.tag()->frameListMap()[id].front());
    }

    TempDir dir;
    TagLib::RIFF::AIFF::File file;
};

TEST(WrittenTags, AreReadByTagLibAndKeepItsFrames)
{
    const TagLib::ByteVector picture("\xFF\xD8\xFF\xE0 data \xFF\0 end", 16);
    const TagLib::ByteVector secret("\0\xFF\xE0\xFF\0\xFF\xFF", 7);
    NTag list = ListOf(L"Title=T\u00EFtle \U0001F600;Artist=A\rB;Album=\u00FF\u0100;Year=2004;"
                       L"Track=3/12;Genre=Rock\rOwn;Lyrics=la;Rating=10;custom=v");
    list.AddTag(L"_albumart_1_Front Album Cover<subdesc>\u00E9", picture.data(), picture.size());
    for (const bool isOld : {true, false}) {
        TL::Tag made;
        made.setTitle("Old");
        made.setComment("Kommentar");
        auto* priv = new TL::PrivateFrame;
        priv->setOwner("dj");
        priv->setData(secret);
        made.addFrame(priv);
        const TagLib::ByteVector old = made.render(isOld ? TL::v3 : TL::v4);
        const LibTag tag(Update({Bytes(old.begin(), old.end())}, list,
                                {L"ID3v2EncodeUni", isOld ? L"" : L"ID3v2WriteV24"}));
        EXPECT_EQ(tag.file.tag()->header()->majorVersion(), isOld ? 3u : 4u);
        const std::pair<const char*, const char*> texts[] = {
            {"TIT2", "[T\xC3\xAFtle \xF0\x9F\x98\x80]"},
            {"TPE1", isOld ? "[A/B]" : "[A B]"},
            {"TALB", "[\xC3\xBF\xC4\x80]"},
            {"TDRC", "[2004]"},
            {"TRCK", "[3/12]"},
            {"TCON", isOld ? "[Rock;Own]" : "[Rock Own]"},
            {"COMM", "[Kommentar]"},
            {"USLT", "[la]"},
            {"TXXX", "[[custom] v]"}};
        for (const auto& [id, text] : texts)
            EXPECT_EQ(tag.Texts(id), text) << id;
        EXPECT_EQ(tag.First<TL::PopularimeterFrame>("POPM").rating(), 255);
        EXPECT_EQ(tag.First<TL::PrivateFrame>("PRIV").data(), secret);
        const auto& cover = tag.First<TL::AttachedPictureFrame>("APIC");
        EXPECT_EQ(cover.type(), TL::AttachedPictureFrame::FrontCover);
        EXPECT_EQ(cover.mimeType(), "image/jpeg");
        EXPECT_EQ(cover.description().to8Bit(true), "\xC3\xA9");
        EXPECT_EQ(cover.picture(), picture);
    }
}

} // namespace
