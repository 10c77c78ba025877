// Files in all the shapes that an edit has to cope with.
#pragma once

#include "edits/EditHarness.h"

inline Chunk TagChunk(const Bytes& tag, const char* code = "ID3 ")
{
    return {code, tag};
}

// The sound ends early, as after a broken download.
inline void CutSound(Layout& layout, size_t missing)
{
    layout.file.resize(layout.file.size() - missing);
    Bytes& sound = layout.others.back().data;
    sound.resize(sound.size() - missing);
}

inline std::vector<Layout> EditableLayouts()
{
    const Bytes tag = Tag("Old");
    const Bytes oddTag = Tag("Old", 1);
    return {
        Make("no tag", {kCommon, kSound}),
        Make("no tag, odd sound", {kCommon, kOddSound}),
        Make("no tag, final pad byte missing", {kCommon, kOddSound}, "",
             [](Layout& it) { it.file.pop_back(); }),
        Make("no tag, final pad byte missing and not counted", {kCommon, kOddSound}, "",
             [](Layout& it) {
                 it.file.pop_back();
                 PutSize(it.file, 4, it.file.size() - 8);
             }),
        Make("tag last", {kCommon, kSound, TagChunk(tag)}, "Old"),
        Make("odd tag last", {kCommon, kSound, TagChunk(oddTag)}, "Old"),
        Make("odd tag last, pad byte missing", {kCommon, kSound, TagChunk(oddTag)}, "Old",
             [](Layout& it) { it.file.pop_back(); }),
        Make("tag first", {TagChunk(tag), kCommon, kSound, kMarks}, "Old"),
        Make("odd tag first", {TagChunk(oddTag), kCommon, kOddSound}, "Old"),
        Make("padded tag first", {TagChunk(Tag("Old", 600)), kCommon, kSound}, "Old"),
        Make("odd padded tag of 255 bytes first", {TagChunk(Tag("Old", 169)), kCommon, kSound},
             "Old"),
        Make("tag between", {kCommon, TagChunk(oddTag), kMarks, kSound, kMarks}, "Old"),
        Make("tag behind the sound", {kCommon, kOddSound, TagChunk(tag), kMarks}, "Old"),
        Make("slack in a first chunk", {TagChunk(Join({tag, Noise(33)})), kCommon, kSound}, "Old"),
        Make("slack in a last chunk", {kCommon, kSound, TagChunk(Join({tag, Noise(34)}))}, "Old"),
        Make("tags around the sound", {TagChunk(oddTag), kCommon, kSound, TagChunk(Tag("B", 1))},
             "Old"),
        Make("two tags last", {kCommon, kSound, TagChunk(oddTag), TagChunk(Tag("B"))}, "Old"),
        Make("four tags",
             {TagChunk(oddTag), kCommon, TagChunk(tag), kSound, TagChunk({}), kMarks,
              TagChunk(Tag("B", 3))},
             "Old"),
        Make("stray bytes", {kCommon, kSound, TagChunk(tag)}, "Old",
             [](Layout& it) { Append(it.file, Text("stray rest")); }),
        Make("odd stray bytes without tag", {kCommon, kSound}, "",
             [](Layout& it) { Append(it.file, Text("stray")); }),
        Make("lower-case tag", {kCommon, kSound, TagChunk(tag, "id3 ")}, "Old"),
        Make("empty tag chunk", {kCommon, kSound, TagChunk({})}),
        Make("empty tag chunk first", {TagChunk({}), kCommon, kSound, TagChunk(tag)}, "Old"),
        Make("form ends before the tag", {kCommon, kSound, TagChunk(tag)}, "Old",
             [](Layout& it) {
                 PutSize(it.file, 4, 4 + 26 + 1016);
                 it.title = ""; // not shown before the edit
                 it.hasTag = false;
             }),
        Make("form of size 0", {kCommon, kSound, kMarks}, "",
             [](Layout& it) { PutSize(it.file, 4, 0); }),
        Make("form of odd size", {kCommon, kOddSound, TagChunk(tag)}, "Old",
             [](Layout& it) { PutSize(it.file, 4, it.file.size() - 9); }),
        Make("form too large", {kCommon, kSound, TagChunk(tag)}, "Old",
             [](Layout& it) { PutSize(it.file, 4, it.file.size() + 993); }),
        Make("form cuts the sound", {kCommon, kSound, TagChunk(tag)}, "Old",
             [](Layout& it) {
                 PutSize(it.file, 4, 500);
                 it.title = "";
                 it.hasTag = false;
             }),
        Make("sound cut off", {kCommon, kSound}, "", [](Layout& it) { CutSound(it, 101); }),
        Make("sound cut off behind a tag", {TagChunk(Tag("Old", 600)), kCommon, kSound}, "Old",
             [](Layout& it) { CutSound(it, 600); }),
        Make("tag cut off", {kCommon, kSound, TagChunk(tag)}, "",
             [](Layout& it) { it.file.resize(it.file.size() - 20); }),
        Make("tag larger than its last chunk", {kCommon, kSound, TagChunk(Tag("Old", 0, 40))}),
        Make("tag larger than its first chunk", {TagChunk(Tag("Old", 0, 40)), kCommon, kSound}),
        Make("tag chunk without a tag", {TagChunk(Noise(77)), kCommon, kSound}),
        Make("no sound", {kCommon, TagChunk(tag)}, "Old"),
        Make("no sound, no tag", {kCommon}),
        Make("empty sound", {kCommon, {"SSND", Bytes(8)}, TagChunk(tag)}, "Old"),
    };
}

// What an edit cannot know well enough to be sure that it loses nothing.
inline std::vector<Layout> RefusedLayouts()
{
    const Chunk tag = TagChunk(Tag("Old"));
    // Samples that no chunk header covers, as a recorder leaves them that was stopped.
    const auto unfinished = [](Layout& it, size_t formSize) {
        Append(it.file, Noise(4000));
        PutSize(it.file, 4, formSize);
    };
    Layout recording = Make("recording with sizes of 0", {kCommon, {"SSND", {}}});
    unfinished(recording, 0);
    Layout started = Make("recording with the header of its start", {kCommon, {"SSND", Bytes(8)}});
    unfinished(started, 46);
    Layout tagged = Make("recording behind a tag", {tag, kCommon, {"SSND", Bytes(8)}});
    unfinished(tagged, tagged.file.size() - 8 - 4000);
    Layout lost = Make("pad byte missing", {kCommon, kMarks, kSound, tag});
    lost.file.erase(lost.file.begin() + 12 + 26 + 11);
    PutSize(lost.file, 4, lost.file.size() - 8);
    lost.hasTag = false;
    return {
        recording,
        started,
        tagged,
        lost,
        Make("form cuts the sound before junk", {kCommon, kSound, tag}, "",
             [](Layout& it) {
                 Append(it.file, Text("junk that is no chunk"));
                 PutSize(it.file, 4, 500);
                 it.hasTag = false;
             }),
        Make("common chunk swallows the sound", {kCommon, kSound, tag}, "",
             [](Layout& it) {
                 PutSize(it.file, 16, it.file.size() - 20);
                 it.hasTag = false;
             }),
        Make("common chunk swallows more than the file", {kCommon, kSound, tag}, "",
             [](Layout& it) {
                 PutSize(it.file, 16, 1 << 20);
                 it.hasTag = false;
             }),
        Make("tag chunk swallows the sound", {tag, kCommon, kSound}, "",
             [](Layout& it) { PutSize(it.file, 16, it.file.size() - 20); }),
        Make("tag chunk swallows more than the file", {tag, kCommon, kSound}, "",
             [](Layout& it) { PutSize(it.file, 16, 1 << 20); }),
    };
}
