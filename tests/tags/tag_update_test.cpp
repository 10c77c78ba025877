#include "TagBuilder.h"

#include <gtest/gtest.h>

namespace
{

std::string F3(std::string_view id, std::string_view body,
               std::string_view flags = std::string_view("\0\0", 2))
{
    return FrameBytes(3, id, body, flags);
}

std::string F4(std::string_view id, std::string_view body,
               std::string_view flags = std::string_view("\0\0", 2))
{
    return FrameBytes(4, id, body, flags);
}

std::string NewText(std::string_view id, std::u16string_view text)
{
    return F3(id, "\1"s + Utf16(text));
}

Bytes Tag3(const std::string& frames)
{
    return TagBuilder(3).Raw(frames).Done();
}

Bytes Tag4(const std::string& frames, uint8_t flags = 0x80)
{
    return TagBuilder(4, flags).Raw(frames).Done();
}

const std::string kPriv = F3("PRIV", "owner\0\xFF\xE0\0"s);
const std::string kGeob = F3("GEOB", "\0application/x\0f\0d\0data"s);

struct EditCase {
    const char* name;
    std::string before;
    Items list;
    std::string after;
    bool remove = false;
};

const EditCase kEdits3[] = {
    {"unknown frames stay, behind",
     kPriv + F3("TIT2", Text("a")) + kGeob,
     {{L"Title", L"b"}},
     NewText("TIT2", u"b") + kPriv + kGeob},
    {"what is not named stays as it is",
     kPriv + F3("TALB", Text("x/y\0z"s)),
     {{L"Title", L"b"}},
     NewText("TIT2", u"b") + F3("TALB", Text("x/y\0z"s)) + kPriv},
    {"an equal value stays as it is",
     F3("TIT2", Text("a\0second"s)),
     {{L"title", L"a"}},
     F3("TIT2", Text("a\0second"s))},
    {"an empty value removes", F3("TIT2", Text("a")) + kPriv, {{L"Title", L""}}, kPriv},
    {"an empty value stays where it was empty",
     F3("TIT2", Text("")),
     {{L"Title", L""}},
     F3("TIT2", Text(""))},
    {"delete",
     F3("TIT2", Text("a")) + F3("TALB", Text("b")),
     {{L"TITLE", L"whatever"}},
     F3("TALB", Text("b")),
     true},
    {"delete what is not there",
     F3("TIT2", Text("a")),
     {{L"Album", L""}},
     F3("TIT2", Text("a")),
     true},
    {"delete internal fields and nothing",
     F3("TXXX", Text("_x\0a"s)),
     {{L"_x", L""}},
     F3("TXXX", Text("_x\0a"s)),
     true},
    {"malformed and hidden frames of a field",
     F3("TIT2", "\7") + F3("TIT2", "x", "\0\x20"s) + kPriv,
     {{L"Album", L"b"}},
     NewText("TALB", u"b") + F3("TIT2", "\7") + F3("TIT2", "x", "\0\x20"s) + kPriv},
    {"they go when the field is set",
     F3("TIT2", "\7") + F3("TIT2", "x", "\0\x20"s) + kPriv,
     {{L"Title", L"b"}},
     NewText("TIT2", u"b") + kPriv},
    {"or removed",
     F3("TIT2", "\7") + F3("TIT2", "x", "\0\x20"s) + kPriv,
     {{L"Title", L""}},
     kPriv,
     true},
    {"compressed, encrypted and grouped frames stay",
     F3("PRIV", "\0\0\0\1zz"s, "\0\x80"s) + F3("TXXX", "ab", "\x20\x40"s) +
         F3("GEOB", "c", "\0\x20"s),
     {{L"Title", L"b"}},
     NewText("TIT2", u"b") + F3("PRIV", "\0\0\0\1zz"s, "\0\x80"s) + F3("TXXX", "ab", "\x20\x40"s) +
         F3("GEOB", "c", "\0\x20"s)},
    {"no frame without identifier",
     F3("XYZ\0"s, "x") + F3("TT2\0"s, Text("a")),
     {{L"Album", L"b"}},
     F3("TIT2", Text("a")) + NewText("TALB", u"b")},
    {"language of a comment",
     F3("COMM", "\0deu\0a"s) + F3("COMM", "\0fra\0b"s),
     {{L"Comment", L"b"}},
     F3("COMM", "\0fra\0b"s)},
    {"language of lyrics",
     F3("USLT", "\0deud\0a"s),
     {{L"Lyrics", L"a"}, {L"Title", L"t"}},
     NewText("TIT2", u"t") + F3("USLT", "\0deud\0a"s)},
    {"play counter",
     F3("POPM", "me\0\x80\0\0\0\5"s),
     {{L"Rating", L"6"}},
     F3("POPM", "me\0\x80\0\0\0\5"s)},
    {"a new rating replaces all",
     F3("POPM", "me\0\x80\5"s) + F3("POPM", "you\0\xFF"s) + F3("POPM", "no\0\0\7"s),
     {{L"Rating", L"5"}},
     F3("POPM", "Windows Media Player 9 Series\0\x60"s) + F3("POPM", "no\0\0\7"s)},
    {"a play counter without rating stays",
     F3("POPM", "no\0\0\7"s),
     {{L"Title", L"b"}},
     NewText("TIT2", u"b") + F3("POPM", "no\0\0\7"s)},
    {"full date survives",
     F3("TYER", Text("2004")) + F3("TDAT", Text("1503")) + F3("TIME", Text("1200")),
     {{L"Year", L"2004-03-15"}},
     F3("TYER", Text("2004")) + F3("TDAT", Text("1503")) + F3("TIME", Text("1200"))},
    {"new year replaces the date",
     F3("TYER", Text("2004")) + F3("TDAT", Text("1503")),
     {{L"Year", L"2005"}},
     F3("TYER", Text("2005\0"s))},
    {"same description, other kind",
     F3("TXXX", Text("Title\0x"s)) + F3("TIT2", Text("a")),
     {{L"Title", L"x"}},
     NewText("TIT2", u"x")},
    {"decorated names",
     F3("TXXX", Text("k[1]\0a"s)) + F3("TXXX", Text("k[2]\0b"s)),
     {{L"k", L"a\rc"}},
     F3("TXXX", Text("k[1]\0a"s)) + F3("TXXX", "\1"s + Utf16(u"k") + Utf16(u"c"))},
    {"name that reads as another",
     F3("TXXX", Text("Commentary\0a"s)),
     {{L"Commentary", L"b"}},
     F3("COMM", "\1eng"s + Utf16(u"ary") + Utf16(u"b"))},
    {"translated name, equal value",
     F3("TXXX", Text("ITUNNORM\0a"s)),
     {{L"ITUNNORM", L"a"}},
     F3("TXXX", Text("ITUNNORM\0a"s))},
    {"version is no field",
     F3("TIT2", Text("a")),
     {{L"TagVersion", L"ID3v2.3"}},
     F3("TIT2", Text("a"))}};

TEST(TagUpdate, ChangesWhatIsAskedAndNothingElse)
{
    for (const EditCase& c : kEdits3) {
        const Bytes once =
            Update({Tag3(c.before)}, ListOf(c.list), {c.remove, {L"ID3v2EncodeUni"}});
        EXPECT_EQ(ContentOf(once), c.after) << c.name;
        if (c.remove || c.name == "name that reads as another"s)
            continue;
        EXPECT_EQ(ContentOf(Update({once}, ListOf(c.list))), c.after) << c.name << ", again";
    }
}

TEST(TagUpdate, NewerTagsKeepTheirFramesAndFlags)
{
    const std::string readOnly = F4("PRIV", "x", "\x10\0"s), grouped = F4("TIT3", "gx", "\0\x40"s),
                      lengthy = F4("GEOB", "\0\0\0\1z"s, "\0\1"s),
                      unsynced = F4("UFID", "\0\0\0\2\xFF\0\xE1"s, "\0\3"s),
                      plainFF = F4("MCDI", "\xFF\0"s);
    const std::string all = readOnly + grouped + lengthy + unsynced + plainFF;
    const std::string title = F4("TIT2", "\0b\0"s);
    const UpdateSettings latin = {false, {}};
    EXPECT_EQ(ContentOf(Update({Tag4(all)}, ListOf({{L"Title", L"b"}}), latin)), title + all);
    // The header says now that frames may be unsynchronised: make it true.
    EXPECT_EQ(ContentOf(Update({Tag4(all, 0)}, ListOf({{L"Title", L"b"}}), latin)),
              title + readOnly + grouped + lengthy + unsynced +
                  F4("MCDI", "\0\0\0\2\xFF\0\0"s, "\0\3"s));
    // A size that would reach beyond the tag if it were plain is not taken for plain.
    const std::string open = F4("PRIV", "\0\0\0\1"s + std::string(124, 'a'), "\0\3"s);
    const Bytes tag = Update({Tag4(open + "\0garbage"s)}, ListOf({{L"Title", L"b"}}), latin);
    EXPECT_EQ(ContentOf(tag), title + open);
    EXPECT_EQ(Read(tag), Items({{L"Title", L"b"}}));
}

TEST(TagUpdate, AnOlderTagBecomesID3v23)
{
    const Bytes old = TagBuilder(2)
                          .Frame("TT2", Text("a"))
                          .Frame("COM", "\0deu\0c"s)
                          .Frame("TYE", Text("2004"))
                          .Frame("GEO", "unknown")
                          .Frame("PIC", "\0PNG\4\0pic"s)
                          .Done();
    const Bytes tag = Update({old}, ListOf({{L"Album", L"b"}}));
    EXPECT_EQ(S(tag).substr(0, 5), "ID3\3\0"s);
    EXPECT_EQ(ContentOf(tag), NewText("TIT2", u"a") + NewText("TALB", u"b") +
                                  F3("TYER", Text("2004\0"s)) + F3("COMM", "\0deu\0c"s) +
                                  F3("GEOB", "unknown") + F3("APIC", "\0image/png\0\4\0pic"s));
}

TEST(TagUpdate, FramesOfADamagedTagAreRescued)
{
    const std::string body(200, 'p');
    const std::string compressed = F4("TALB", "\0\0\0\5zipzip"s, "\0\x09"s);
    const Bytes zipped = Tag4(F4("TIT2", Text("a")) + compressed + F4("PRIV", body) +
                              F4("UFID", "\0\0\0\1u"s, "\0\1"s) + F4("TIT3", Text("r"), "\x10\0"s));
    ASSERT_EQ(Read(zipped), Items({{L"damaged", L""}}));
    const Bytes rescued = Update({zipped}, ListOf({{L"Artist", L"b"}}));
    EXPECT_EQ(ContentOf(rescued), NewText("TIT2", u"a") + NewText("TPE1", u"b") +
                                      F3("TALB", "\0\0\0\5zipzip"s, "\0\x80"s) + F3("PRIV", body) +
                                      F3("UFID", "u"));

    // A frame that no reader gets past would hide the others: it is passed over.
    EXPECT_EQ(ContentOf(Update({zipped}, ListOf({{L"Artist", L"b"}}), {false, {L"ID3v2WriteV24"}})),
              F4("TIT2", Text("a")) + F4("TPE1", "\0b\0"s) +
                  F4("TALB", "\0\0\0\5zipzip"s, "\x10\x09"s) + F4("PRIV", body) +
                  F4("UFID", "\0\0\0\1u"s, "\0\1"s) + F4("TIT3", Text("r"), "\x10\0"s));

    // Plain sizes: the tag becomes one that can be read.
    const Bytes plain = Tag4(F3("PRIV", body) + F3("TIT2", Text("a")) + F3("GEOB", body));
    ASSERT_EQ(Read(plain), Items({{L"damaged", L""}}));
    EXPECT_EQ(ContentOf(Update({plain}, ListOf({{L"Artist", L"b"}}))),
              NewText("TIT2", u"a") + NewText("TPE1", u"b") + F3("PRIV", body) + F3("GEOB", body));
    EXPECT_EQ(ContentOf(Update({plain}, ListOf({{L"Artist", L"b"}}), {false, {L"ID3v2WriteV24"}})),
              F4("TIT2", Text("a")) + F4("TPE1", "\0b\0"s) + F4("PRIV", body) + F4("GEOB", body));

    const Bytes cut =
        TagBuilder(3).Raw(kPriv + F3("TIT2", Text("a")) + F3("GEOB", body)).WithSize(100).Done();
    EXPECT_EQ(ContentOf(Update({cut}, ListOf({{L"Title", L"b"}}))), NewText("TIT2", u"b") + kPriv);
    EXPECT_EQ(ContentOf(Update({B("no tag at all")}, ListOf({{L"Title", L"b"}}))),
              NewText("TIT2", u"b"));
}

TEST(TagUpdate, SeveralTagsBecomeOne)
{
    const Bytes first =
        Tag3(F3("TIT2", Text("1")) + kPriv + F3("COMM", "\0eng\0c1"s) + F3("POPM", "a\0\x80"s));
    const Bytes second = Tag3(F3("TIT2", Text("2")) + F3("TALB", Text("2")) + kPriv + kGeob +
                              F3("COMM", "\0engd\0c2"s));
    const Bytes tag = Update({first, second}, ListOf({{L"Artist", L"b"}}));
    EXPECT_EQ(ContentOf(tag), F3("TIT2", Text("1")) + F3("TALB", Text("2")) +
                                  NewText("TPE1", u"b") + F3("POPM", "a\0\x80"s) +
                                  F3("COMM", "\0eng\0c1"s) + F3("COMM", "\0engd\0c2"s) + kPriv +
                                  kGeob);
    // What reading shows of both is what the new tag shows.
    NTag shown, list;
    ASSERT_TRUE(ReadTagList(first, shown));
    ASSERT_TRUE(ReadTagList(second, list));
    shown.MergeFrom(list, false);
    ASSERT_TRUE(ReadTagList(tag, list));
    for (long i = 0; i < shown.Count(); ++i)
        EXPECT_EQ(list.GetTagValue(shown[i].name), shown[i].value);

    // The revision is the last one's, also for what came from the first.
    const Bytes newer = Tag4(F4("TIT2", "\3\xC3\xA9"s) + F4("PRIV", "p") +
                             F4("COMM", "\3deu\0\xC3\xA9"s) + F4("WPAY", "u"));
    EXPECT_EQ(ContentOf(Update({newer, Tag3(F3("TALB", Text("2")))}, ListOf({}))),
              NewText("TIT2", u"\u00E9") + F3("TALB", Text("2")) + F3("WPAY", "u") +
                  F3("COMM", "\1deu"s + Utf16(u"") + Utf16(u"\u00E9")) + F3("PRIV", "p"));
}

const std::string kFront = F3("APIC", "\0image/x\0\3one\0front"s),
                  kFront2 = F3("APIC", "\0image/x\0\3two\0front2"s),
                  kBack = F3("APIC", "\0image/x\0\4\0back"s),
                  kFish = F3("APIC", "\0image/x\0\x11\0fish"s);

struct PictureCase {
    const char* name;
    Items list; // values are data
    bool remove;
    std::string after;
};

TEST(TagUpdate, PicturesAreReplacedByType)
{
    const XStr front = L"_albumart_1_Front Album Cover", back = L"_albumart_2_Back Album Cover";
    const std::string newFront = F3("APIC", "\0image/jpeg\0\3\0newfront"s);
    const PictureCase cases[] = {
        {"none named", {}, false, kFront + kFront2 + kBack + kFish},
        {"one type", {{front, L"newfront"}}, false, newFront + kBack + kFish},
        {"equal ones stay",
         {{back, L"back"},
          {front + L"<subdesc>two", L"front2"},
          {front + L"<subdesc>one", L"front"}},
         false,
         kFront2 + kFront + kFish + kBack},
        {"one changed of two",
         {{front + L"<subdesc>one", L"front"}, {front, L"newfront"}},
         false,
         kFront + newFront + kBack + kFish},
        {"without data", {{back, L""}}, false, kFront + kFront2 + kFish},
        {"removed by name", {{L"_albumart_9_front album cover", L""}}, true, kBack + kFish},
        {"type without a name",
         {{L"_albumart_4_Undefined", L"fish"}},
         false,
         kFront + kFront2 + kBack + kFish},
        {"type without a name, changed",
         {{L"_albumart_4_Undefined", L"seafood!"}},
         false,
         kFront + kFront2 + kBack + F3("APIC", "\0image/jpeg\0\0\0seafood!"s)},
        {"small data has no type",
         {{back, L"tiny"}},
         false,
         kFront + kFront2 + kFish + F3("APIC", "\0\0\4\0tiny"s)},
        {"description beyond ASCII",
         {{back + L"<subdesc>\u00E9", L"back"}},
         false,
         kFront + kFront2 + kFish + F3("APIC", "\1\0\4"s + Utf16(u"\u00E9") + "back")}};
    for (const PictureCase& c : cases) {
        NTag list;
        for (const auto& [name, data] : c.list) {
            const std::string bytes(data.begin(), data.end());
            list.AddTag(name, bytes.data(), bytes.size());
        }
        const Bytes tag = Update({Tag3(kBack + kFront + kFish + kFront2)}, list, {c.remove, {}});
        EXPECT_EQ(ContentOf(tag),
                  c.name == "none named"s ? kFront + kFront2 + kBack + kFish : c.after)
            << c.name;
    }
}

// The list as the host gets it and gives it back.
NTag ThroughBlob(const NTag& list)
{
    XMem blob;
    NTag back;
    EXPECT_TRUE(list.ToRawMemory(blob));
    back.InitFromRawMemory(blob.Data(), static_cast<long>(blob.Used()));
    return back;
}

TEST(TagUpdate, AListWrittenBackHarmsNothing)
{
    const std::string grin = "\xF0\x9F\x98\x80", cut = "\xF0\x90\x80\x80"; // U+10000 is cut to 0
    const Bytes tags[] = {
        Tag4(F4("TIT2", "\3" + grin) + F4("TALB", "\3a" + cut + "b") +
             F4("TXXX", "\3" + grin + "k\0v\0w"s) +
             F4("APIC", "\3image/png\0\3" + grin + "\xC3\xA9\0data"s) +
             F4("APIC", "\0x\0\x11\0fish"s) + F4("TPE1", "\3a\0\0b"s) +
             F4("TDRC", "\0"s
                        "2004-03-15T12:00"s) +
             F4("TXXX", "\3Year[2]\0x"s) + F4("PRIV", "\xFF\xE0")),
        Tag3(F3("TYER", Text("c. 1970")) + F3("TCON", Text("(17)(8)")) +
             F3("TXXX", Text("content group description\0x"s)) +
             F3("TXXX", Text("TagVersion\0mine"s)) + F3("TXXX", Text("Comment\0x"s)) +
             F3("COMM", "\0eng\0x"s) + kFish + kBack + F3("TXXX", Text("[1]\0x"s)) +
             F3("APIC", "\0image/y\0\4\0back"s) + F3("TIT2", "\1"s + Utf16(u"\xD800")))};
    for (const Bytes& tag : tags) {
        NTag list;
        ASSERT_TRUE(ReadTagList(tag, list));
        const Bytes back = Update({tag}, ThroughBlob(list));
        ASSERT_EQ(back.size(), tag.size()) << testing::PrintToString(S(back));
        const Bytes again = Update({back}, ThroughBlob(list));
        EXPECT_EQ(again, back);
        NTag shown;
        ASSERT_TRUE(ReadTagList(back, shown));
        EXPECT_EQ(Read(back), Read(tag));
    }
}

TEST(TagUpdate, ReadsBackWhatWasWritten)
{
    const Items items = {{L"Album Artist", L"a\rb"},
                         {L"Artist", L"\u4E00\r\U0001F600"},
                         {L"Comment", L"one\rtwo"},
                         {L"Comment iTunNORM", L" 0000 00AB"},
                         {L"custom", L"x\ry\rz"},
                         {L"Disc", L"1/2"},
                         {L"Genre", L"(odd)\rRock"},
                         {L"Lyrics", L"la\nla"},
                         {L"Payment", L"http://a"},
                         {L"Rating", L"8"},
                         {L"Release date", L"2001-02"},
                         {L"replaygain_track_gain", L"-6.1 dB"},
                         {L"Title", L"a\rb"},
                         {L"Track", L"3/12"},
                         {L"User defined URL link", L"http://b"},
                         {L"User defined URL link x", L"http://c\rhttp://d"},
                         {L"Year", L"2004"}};
    for (const wchar_t* version : {L"", L"ID3v2WriteV24"})
        for (const wchar_t* encoding : {L"ID3v2EncodeUni", L"ID3v2EncodeUTF8"})
            EXPECT_EQ(Read(Update({}, ListOf(items), {false, {encoding, version}})), items)
                << version << encoding;

    // More values than readers take from one frame.
    XStr many = L"0";
    for (int i = 1; i < 3000; ++i)
        many += L"\r" + std::to_wstring(i);
    const Items crowd = {{L"Artist", many}, {L"k", many}};
    EXPECT_EQ(Read(Update({}, ListOf(crowd), {false, {L"ID3v2WriteV24"}})), crowd);
}

TEST(TagUpdate, RoomAndAlignmentAreFilled)
{
    const Bytes old = Tag3(kPriv);
    const std::span<const uint8_t> view(old);
    TagUpdate update({}, {&view, 1});
    update.Apply(ListOf({{L"Title", L"b"}}), false);
    ASSERT_TRUE(update.Build());
    const size_t size = update.Size();
    Bytes tag;
    ASSERT_TRUE(update.Finish(size + 100, 1000, 2, tag));
    EXPECT_EQ(tag.size(), (size + 101) / 2 * 2);
    EXPECT_EQ(TagSizeFromHeader(tag), static_cast<int64_t>(tag.size()));
    EXPECT_EQ(Read(tag), Items({{L"Title", L"b"}}));
}

// A step that takes more than linear time would not come to an end here.
TEST(TagUpdate, ThousandsOfFramesItemsAndPictures)
{
    std::string frames;
    NTag list;
    for (int i = 0; i < 20000; ++i) {
        const std::string number = std::to_string(i);
        frames += F3("PRIV", number) + F3("TXXX", Text("k" + number + "\0v"s));
        if (i % 10 == 0)
            frames += F3("APIC", "\0\0\3\0"s + number);
        list.AddTag(L"K" + XStr(number.begin(), number.end()), i % 2 ? L"v" : L"changed");
    }
    const Bytes old = TagBuilder(3).Raw(frames).Done();
    NTag shown;
    ASSERT_TRUE(ReadTagList(old, shown));
    EXPECT_EQ(shown.Count(), 22001);
    shown.DropTagsBeginUnderScore(NTag::kKeepAlbumArt);
    for (long i = 0; i < list.Count(); ++i)
        shown.AddTag(list[i]);
    const Bytes tag = Update({old, old}, shown);
    NTag after;
    ASSERT_TRUE(ReadTagList(tag, after));
    EXPECT_EQ(after.Count(), 22001);
    EXPECT_EQ(after.GetTagValue(L"k19998"), L"changed");
    EXPECT_EQ(after.GetTagValue(L"k19999"), L"v");
}

} // namespace
