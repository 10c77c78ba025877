// SPDX-License-Identifier: MIT

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

// The first frame of its kind; throws when there is none.
template <class Kind>
const Kind& First(const TL::Tag& tag, const char* id)
{
    return dynamic_cast<const Kind&>(*tag.frameListMap()[id].front());
}

TEST(WrittenTags, AreReadByTagLibAndKeepItsFrames)
{
    const TagLib::ByteVector picture("\xFF\0 data \xFF\0 end", 14); // no false synchronisation
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
        const Bytes bytes = Update({Bytes(old.begin(), old.end())}, list,
                                   {L"ID3v2EncodeUni", isOld ? L"" : L"ID3v2WriteV24"});
        const TempDir dir;
        const AiffBuilder aiff = AiffBuilder().Comm(1, 8, 8000).Chunk("ID3 ", bytes);
        TagLib::RIFF::AIFF::File file(dir.Write("a.aiff", aiff).c_str());
        const TL::Tag& tag = *file.tag();
        EXPECT_EQ(tag.header()->majorVersion(), isOld ? 3u : 4u);
        std::string texts;
        for (const char* id :
             {"TIT2", "TPE1", "TALB", "TDRC", "TRCK", "TCON", "COMM", "USLT", "TXXX"})
            for (const TL::Frame* frame : tag.frameList(id))
                texts += frame->toString().to8Bit(true) + "|";
        EXPECT_EQ(texts, "T\u00EFtle \U0001F600|"s + (isOld ? "A/B" : "A B") +
                             "|\u00FF\u0100|2004|3/12|" + (isOld ? "Rock;Own" : "Rock Own") +
                             "|Kommentar|la|[custom] v|");
        EXPECT_EQ(First<TL::PopularimeterFrame>(tag, "POPM").rating(), 255);
        EXPECT_EQ(First<TL::PrivateFrame>(tag, "PRIV").data(), secret);
        const auto& cover = First<TL::AttachedPictureFrame>(tag, "APIC");
        EXPECT_EQ(cover.type(), TL::AttachedPictureFrame::FrontCover);
        EXPECT_EQ(cover.mimeType(), "image/jpeg");
        EXPECT_EQ(cover.description().to8Bit(true), "\u00E9");
        EXPECT_EQ(cover.picture(), picture);
    }
}

} // namespace
