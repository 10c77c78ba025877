// TagLib reads what is written here, and sees again what it had written itself.
#include "TagBuilder.h"

#include <gtest/gtest.h>

#include <taglib/attachedpictureframe.h>
#include <taglib/commentsframe.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/id3v2tag.h>
#include <taglib/popularimeterframe.h>
#include <taglib/privateframe.h>
#include <taglib/tbytevectorstream.h>
#include <taglib/textidentificationframe.h>
#include <taglib/unsynchronizedlyricsframe.h>

#include <memory>

namespace TL = TagLib::ID3v2;

namespace
{

// TagLib takes tags from files only.
class LibTag : public TL::Tag
{
public:
    explicit LibTag(const Bytes& bytes)
    {
        const TagLib::ByteVector data(reinterpret_cast<const char*>(bytes.data()),
                                      static_cast<unsigned>(bytes.size()));
        header()->setData(data.mid(0, 10));
        parse(data.mid(10, header()->tagSize()));
    }
};

std::string TextOf(const TL::Tag& tag, const char* id)
{
    std::string text;
    for (const TL::Frame* frame : tag.frameList(id))
        text.append("[").append(frame->toString().to8Bit(true)).append("]");
    return text;
}

class WrittenTags : public testing::TestWithParam<int>
{
protected:
    UpdateSettings Settings() const
    {
        if (GetParam() == 3)
            return {};
        return {false, {L"ID3v2EncodeUni", L"ID3v2WriteV24"}};
    }
};

TEST_P(WrittenTags, AreReadByTagLib)
{
    NTag list = ListOf({{L"Title", L"T\u00EFtle \U0001F600"},
                        {L"Artist", L"A\rB"},
                        {L"Album", L"\u00FF\u0100"},
                        {L"Year", L"2004"},
                        {L"Track", L"3/12"},
                        {L"Genre", L"Rock\rOwn"},
                        {L"Comment", L"c"},
                        {L"Lyrics", L"la"},
                        {L"Rating", L"10"},
                        {L"custom", L"v"}});
    std::string picture = "\xFF\xD8\xFF\xE0 data \xFF\0 end"s;
    list.AddTag(L"_albumart_1_Front Album Cover<subdesc>\u00E9", picture.data(), picture.size());
    const LibTag tag(Update({}, list, Settings()));

    EXPECT_EQ(tag.header()->majorVersion(), static_cast<unsigned>(GetParam()));
    EXPECT_EQ(tag.title().to8Bit(true), "T\xC3\xAFtle \xF0\x9F\x98\x80");
    EXPECT_EQ(TextOf(tag, "TPE1"), GetParam() == 3 ? "[A/B]" : "[A B]");
    EXPECT_EQ(tag.album().to8Bit(true), "\xC3\xBF\xC4\x80");
    EXPECT_EQ(tag.year(), 2004u);
    EXPECT_EQ(tag.track(), 3u);
    EXPECT_EQ(TextOf(tag, "TCON"), GetParam() == 3 ? "[Rock;Own]" : "[Rock Own]");
    EXPECT_EQ(tag.comment().to8Bit(true), "c");
    EXPECT_EQ(TextOf(tag, "USLT"), "[la]");
    EXPECT_EQ(TextOf(tag, "TXXX"), "[[custom] v]");
    const auto* rating = dynamic_cast<const TL::PopularimeterFrame*>(tag.frameList("POPM").front());
    ASSERT_NE(rating, nullptr);
    EXPECT_EQ(rating->rating(), 255);
    const auto* cover =
        dynamic_cast<const TL::AttachedPictureFrame*>(tag.frameList("APIC").front());
    ASSERT_NE(cover, nullptr);
    EXPECT_EQ(cover->type(), TL::AttachedPictureFrame::FrontCover);
    EXPECT_EQ(cover->mimeType(), "image/jpeg");
    EXPECT_EQ(cover->description().to8Bit(true), "\xC3\xA9");
    EXPECT_EQ(cover->picture(),
              TagLib::ByteVector(picture.data(), static_cast<unsigned>(picture.size())));
}

TEST_P(WrittenTags, OfTagLibKeepTheirFrames)
{
    std::string secret;
    for (int i = 0; i < 600; ++i)
        secret += static_cast<char>(i);
    TL::Tag made;
    made.setTitle("Title");
    made.setArtist("Artist");
    auto* priv = new TL::PrivateFrame;
    priv->setOwner("dj");
    priv->setData(TagLib::ByteVector(secret.data(), static_cast<unsigned>(secret.size())));
    made.addFrame(priv);
    auto* comment = new TL::CommentsFrame(TagLib::String::UTF8);
    comment->setLanguage("deu");
    comment->setText("Kommentar");
    made.addFrame(comment);
    const TagLib::ByteVector data = made.render(GetParam() == 3 ? TL::v3 : TL::v4);
    const Bytes old(data.begin(), data.end());

    const LibTag tag(Update({old}, ListOf({{L"Title", L"New"}})));
    EXPECT_EQ(tag.header()->majorVersion(), static_cast<unsigned>(GetParam()));
    EXPECT_EQ(tag.title(), "New");
    EXPECT_EQ(tag.artist(), "Artist");
    EXPECT_EQ(tag.frameList("TIT2").size(), 1u);
    const auto* kept = dynamic_cast<const TL::PrivateFrame*>(tag.frameList("PRIV").front());
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(std::string(kept->data().data(), kept->data().size()), secret);
    const auto* keptComment = dynamic_cast<const TL::CommentsFrame*>(tag.frameList("COMM").front());
    ASSERT_NE(keptComment, nullptr);
    EXPECT_EQ(keptComment->language(), "deu");
    EXPECT_EQ(keptComment->text(), "Kommentar");
}

INSTANTIATE_TEST_SUITE_P(BothRevisions, WrittenTags, testing::Values(3, 4));

} // namespace
