// Files in all the shapes that an edit has to cope with, and the edits to make.
#pragma once

#include "support/ChunkWalker.h"
#include "tags/TagBuilder.h"

using namespace aiff;

using Chunk = WalkedChunk;

struct Layout {
    std::string name;
    Bytes file;
    std::vector<Chunk> others; // all chunks but the tags, which every edit keeps
    std::string title;         // that reading shows
    bool hasTag = false;       // the index shows a tag chunk that is not empty
    bool hasForeign = false;   // a tag that can be read holds kForeignFrame
    friend void PrintTo(const Layout& layout, std::ostream* out) { *out << layout.name; }
};

struct Edit {
    enum Kind { Set, Delete, DeleteAll };
    const char* name;
    Kind kind;
    NTag items;
};

inline const XStr kCover = L"_albumart_1_Front Album Cover";

// A list that ends with a picture.
inline NTag WithCover(const Bytes& picture, const XStr& others = L"")
{
    NTag list = ListOf(others);
    list.AddTag(kCover, picture.data(), picture.size());
    return list;
}

inline std::vector<Edit> AllEdits()
{
    const Bytes picture = Join({{0x89}, Text("PNG"), Noise(5001)});
    return {{"set", Edit::Set, ListOf(L"Title=New;Artist=Me\rYou")},
            {"picture", Edit::Set, WithCover(picture, L"Title=New")},
            {"delete", Edit::Delete, ListOf(L"Title=")},
            {"delete all", Edit::DeleteAll, {}}};
}

inline const std::string kForeignFrame = Frames(3, "GEOB:a/b\0f\0dj\0"s + std::string(42, 'g'));

// A tag with a title, a frame that no field represents, and padding.
inline Chunk TagChunk(const std::string& title, size_t padding = 0, size_t claimsMore = 0)
{
    const std::string frames =
        Frames(3, "TIT2:" + title) + kForeignFrame + std::string(padding, '\0');
    return {"ID3 ", TagOf(3, frames, 0, frames.size() + claimsMore)};
}

inline const Chunk kCommon{"COMM", Join({Big(1, 2), Big(500, 4), Big(16, 2), Extended(44100)})};
inline const Chunk kSound{"SSND", Join({Bytes(8), Noise(1000)})};
inline const Chunk kOddSound{"SSND", Join({Bytes(8), Noise(999)})};
inline const Chunk kMarks{"MARK", Text("odd")};
inline const Chunk kNoTag{"ID3 ", {}};
inline const Chunk kTag = TagChunk("Old"), kOddTag = TagChunk("Old", 1);

inline void PutSize(Bytes& file, size_t position, size_t size)
{
    const Bytes bytes = Big(size, 4);
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<ptrdiff_t>(position));
}

// What is irregular about a file.
struct Oddity {
    size_t cut = 0;                       // bytes missing at the end
    Bytes tail = {};                      // bytes after the form
    int formBy = 0;                       // how much the size of the form is off
    std::optional<size_t> form = {};      // the size of the form
    std::optional<size_t> firstSize = {}; // that of the first chunk
    enum { Shown, Unread, Hidden } tags = Shown;
};

inline Layout Make(const std::string& name, const std::vector<Chunk>& chunks,
                   const Oddity& odd = {})
{
    Layout layout{name, {}, {}, "", false, false};
    AiffBuilder builder;
    for (const Chunk& chunk : chunks) {
        builder.Chunk(chunk.code, chunk.data);
        if (!chunk.IsTag())
            layout.others.push_back(chunk);
        layout.hasTag = layout.hasTag || (chunk.IsTag() && !chunk.data.empty());
    }
    layout.hasForeign = layout.hasTag && odd.tags != Oddity::Unread;
    layout.title = layout.hasTag && odd.tags == Oddity::Shown ? "Old" : "";
    layout.hasTag = layout.hasTag && odd.tags != Oddity::Hidden;
    Bytes& file = layout.file = builder.Build();
    PutSize(file, 4, odd.form.value_or(Number(file, 4) + static_cast<size_t>(odd.formBy)));
    PutSize(file, 16, odd.firstSize.value_or(Number(file, 16)));
    file.resize(file.size() - odd.cut);
    Append(file, odd.tail);
    if (const size_t pad = chunks.back().data.size() % 2; odd.cut > pad && !chunks.back().IsTag())
        layout.others.back().data.resize(chunks.back().data.size() + pad - odd.cut);
    return layout;
}

inline std::vector<Layout> EditableLayouts()
{
    const Chunk padded = TagChunk("Old", 600), second = TagChunk("B"), oddSecond = TagChunk("B", 1);
    return {
        Make("no tag", {kCommon, kSound}),
        Make("no tag, odd sound", {kCommon, kOddSound}),
        Make("no tag, final pad byte missing", {kCommon, kOddSound}, {.cut = 1}),
        Make("no tag, final pad byte missing and not counted", {kCommon, kOddSound},
             {.cut = 1, .formBy = -1}),
        Make("tag last", {kCommon, kSound, kTag}),
        Make("odd tag last", {kCommon, kSound, kOddTag}),
        Make("odd tag last, pad byte missing", {kCommon, kSound, kOddTag}, {.cut = 1}),
        Make("tag first", {kTag, kCommon, kSound, kMarks}),
        Make("odd tag first", {kOddTag, kCommon, kOddSound}),
        Make("padded tag first", {padded, kCommon, kSound}),
        Make("odd padded tag of 255 bytes first", {TagChunk("Old", 169), kCommon, kSound}),
        Make("tag between", {kCommon, kOddTag, kMarks, kSound, kMarks}),
        Make("tag after the sound", {kCommon, kOddSound, kTag, kMarks}),
        Make("slack in a first chunk", {{"ID3 ", Join({kTag.data, Noise(33)})}, kCommon, kSound}),
        Make("slack in a last chunk", {kCommon, kSound, {"ID3 ", Join({kTag.data, Noise(34)})}}),
        Make("tags around the sound", {kOddTag, kCommon, kSound, oddSecond}),
        Make("two tags last", {kCommon, kSound, kOddTag, second}),
        Make("four tags", {kOddTag, kCommon, kTag, kSound, kNoTag, kMarks, oddSecond}),
        Make("stray bytes", {kCommon, kSound, kTag}, {.tail = Text("stray rest")}),
        Make("odd stray bytes without tag", {kCommon, kSound}, {.tail = Text("stray")}),
        Make("lower-case tag", {kCommon, kSound, {"id3 ", kTag.data}}),
        Make("empty tag chunk", {kCommon, kSound, kNoTag}),
        Make("empty tag chunk first", {kNoTag, kCommon, kSound, kTag}),
        Make("form ends before the tag", {kCommon, kSound, kTag},
             {.form = 4 + 26 + 1016, .tags = Oddity::Hidden}),
        Make("form of size 0", {kCommon, kSound, kMarks}, {.form = 0}),
        Make("form of odd size", {kCommon, kOddSound, kTag}, {.formBy = -1}),
        Make("form too large", {kCommon, kSound, kTag}, {.formBy = 1001}),
        Make("form cuts the sound", {kCommon, kSound, kTag}, {.form = 500, .tags = Oddity::Hidden}),
        Make("sound cut off", {kCommon, kSound}, {.cut = 101}),
        Make("sound cut off after a tag", {padded, kCommon, kSound}, {.cut = 600}),
        Make("tag cut off", {kCommon, kSound, kTag}, {.cut = 20, .tags = Oddity::Unread}),
        Make("tag larger than its last chunk", {kCommon, kSound, TagChunk("Old", 0, 40)},
             {.tags = Oddity::Unread}),
        Make("tag larger than its first chunk", {TagChunk("Old", 0, 40), kCommon, kSound},
             {.tags = Oddity::Unread}),
        Make("tag chunk without a tag", {{"ID3 ", Noise(77)}, kCommon, kSound},
             {.tags = Oddity::Unread}),
        Make("no sound", {kCommon, kTag}),
        Make("no sound, no tag", {kCommon}),
        Make("empty sound", {kCommon, {"SSND", Bytes(8)}, kTag}),
    };
}

// What an edit cannot know well enough to be sure that it loses nothing. The first are
// recordings that were stopped: no chunk header covers their samples.
inline std::vector<Layout> RefusedLayouts()
{
    const Chunk started{"SSND", Bytes(8)};
    Layout lost = Make("pad byte missing", {kCommon, kMarks, kSound, kTag},
                       {.formBy = -1, .tags = Oddity::Hidden});
    lost.file.erase(lost.file.begin() + 12 + 26 + 11);
    return {
        lost,
        Make("sizes of 0", {kCommon, {"SSND", {}}}, {.tail = Noise(4000), .form = 0}),
        Make("header of the start", {kCommon, started}, {.tail = Noise(4000), .form = 46}),
        Make("recording after a tag", {kTag, kCommon, started}, {.tail = Noise(4000)}),
        Make("form cuts the sound before junk", {kCommon, kSound, kTag},
             {.tail = Text("junk that is no chunk"), .form = 500, .tags = Oddity::Hidden}),
        Make("common chunk swallows the sound", {kCommon, kSound, kTag},
             {.firstSize = 26 + 1008 + kTag.data.size(), .tags = Oddity::Hidden}),
        Make("common chunk swallows more than the file", {kCommon, kSound, kTag},
             {.firstSize = 1 << 20, .tags = Oddity::Hidden}),
        Make("tag chunk swallows the sound", {kTag, kCommon, kSound},
             {.firstSize = kTag.data.size() + 26 + 1016}),
        Make("tag chunk swallows more than the file", {kTag, kCommon, kSound},
             {.firstSize = 1 << 20}),
    };
}
