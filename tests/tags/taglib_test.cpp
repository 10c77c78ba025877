// TagLib reads what is written here, and sees again what it had written itself.
#include "TagBuilder.h"

#include <gtest/gtest.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/commentsframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/popularimeterframe.h>
#include <taglib/privateframe.h>

namespace TL = TagLib::ID3v2;

namespace
{

TagLib::ByteVector Vector(const std::string& bytes)
{
    return {bytes.data(), static_cast<unsigned>(bytes.size())};
}

// TagLib takes tags from files only.
class LibTag : public TL::Tag
{
public:
    explicit LibTag(const Bytes& bytes)
    {
        const TagLib::ByteVector data = Vector(S(bytes));
        header()->setData(data.mid(0, 10));
        parse(data.mid(10, header()->tagSize()));
    }

    std::string Texts(const char* id) const
    {
        std::string text;
        for (const TL::Frame* frame : frameList(id))
            text.append("[").append(frame->toString().to8Bit(true)).append("]");
        return text;
    }

    // The first frame of its kind; throws when there is none.
    template <class Kind>
    const Kind& First(const char* id) const
    {
        return dynamic_cast<const Kind&>(*frameListMap()[id].front());
    }
};

class WrittenTags : public testing::TestWithParam<int>
{
};
INSTANTIATE_TEST_SUITE_P(BothRevisions, WrittenTags, testing::Values(3, 4));

TEST_P(WrittenTags, AreReadByTagLib)
{
    NTag list = ListOf(L"Title=T\u00EFtle \U0001F600;Artist=A\rB;Album=\u00FF\u0100;Year=2004;"
                       L"Track=3/12;Genre=Rock\rOwn;Comment=c;Lyrics=la;Rating=10;custom=v");
    const std::string picture = "\xFF\xD8\xFF\xE0 data \xFF\0 end"s;
    list.AddTag(L"_albumart_1_Front Album Cover<subdesc>\u00E9", picture.data(), picture.size());
    const bool isOld = GetParam() == 3;
    const LibTag tag(Update({}, list, {L"ID3v2EncodeUni", isOld ? L"" : L"ID3v2WriteV24"}));

    EXPECT_EQ(tag.header()->majorVersion(), static_cast<unsigned>(GetParam()));
    const std::pair<const char*, const char*> texts[] = {
        {"TIT2", "[T\xC3\xAFtle \xF0\x9F\x98\x80]"},
        {"TPE1", isOld ? "[A/B]" : "[A B]"},
        {"TALB", "[\xC3\xBF\xC4\x80]"},
        {"TDRC", "[2004]"},
        {"TRCK", "[3/12]"},
        {"TCON", isOld ? "[Rock;Own]" : "[Rock Own]"},
        {"COMM", "[c]"},
        {"USLT", "[la]"},
        {"TXXX", "[[custom] v]"}};
    for (const auto& [id, text] : texts)
        EXPECT_EQ(tag.Texts(id), text) << id;
    EXPECT_EQ(tag.First<TL::PopularimeterFrame>("POPM").rating(), 255);
    const auto& cover = tag.First<TL::AttachedPictureFrame>("APIC");
    EXPECT_EQ(cover.type(), TL::AttachedPictureFrame::FrontCover);
    EXPECT_EQ(cover.mimeType(), "image/jpeg");
    EXPECT_EQ(cover.description().to8Bit(true), "\xC3\xA9");
    EXPECT_EQ(cover.picture(), Vector(picture));
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
    priv->setData(Vector(secret));
    made.addFrame(priv);
    auto* comment = new TL::CommentsFrame(TagLib::String::UTF8);
    comment->setLanguage("deu");
    comment->setText("Kommentar");
    made.addFrame(comment);
    const TagLib::ByteVector data = made.render(GetParam() == 3 ? TL::v3 : TL::v4);

    const LibTag tag(Update({Bytes(data.begin(), data.end())}, ListOf(L"Title=New")));
    EXPECT_EQ(tag.header()->majorVersion(), static_cast<unsigned>(GetParam()));
    EXPECT_EQ(tag.Texts("TIT2") + tag.Texts("TPE1"), "[New][Artist]");
    EXPECT_EQ(tag.First<TL::PrivateFrame>("PRIV").data(), Vector(secret));
    EXPECT_EQ(tag.First<TL::CommentsFrame>("COMM").language(), "deu");
    EXPECT_EQ(tag.First<TL::CommentsFrame>("COMM").text(), "Kommentar");
}

} // namespace
