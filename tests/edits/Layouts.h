// SPDX-License-Identifier: MIT

// Files in all the shapes that an edit has to cope with, and the edits to make.
#pragma once

#include "support/ChunkWalker.h"
#include "tags/TagBuilder.h"

#include <map>

using namespace aiff;

using Chunk = WalkedChunk;

struct Layout {
    std::string name; // its notation
    Bytes file;
    std::vector<Chunk> others; // all chunks but the tags, which every edit keeps
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
    return {{"set", Edit::Set, ListOf(L"Artist=Me\rYou;Title=New")},
            {"picture", Edit::Set, WithCover(picture, L"Title=New")},
            {"delete", Edit::Delete, ListOf(L"Title=")},
            {"delete all", Edit::DeleteAll, {}}};
}

inline const std::string kForeignFrame = Frames(3, "GEOB:a/b\0f\0dj\0"s + std::string(42, 'g'));
inline const std::string kForeignText = "GEOB[a/b] f \"dj\"|"; // as TagLib tells of it

// A tag with a title, a frame that no field represents, and padding.
inline Chunk TagChunk(const std::string& title, size_t padding = 0, size_t claimsMore = 0)
{
    const std::string frames =
        Frames(3, "TIT2:" + title) + kForeignFrame + std::string(padding, '\0');
    return {"ID3 ", TagOf(3, frames, 0, frames.size() + claimsMore)};
}

inline const Chunk kCommon{"COMM", Join({Big(1, 2), Big(500, 4), Big(16, 2), Extended(44100)})};
inline const Chunk kSound{"SSND", Join({Bytes(8), Noise(1000)})};
inline const Chunk kTag = TagChunk("Old");

// The letters of chunks in the notation of layouts.
inline const std::map<char, Chunk> kLetters = {
    {'C', kCommon},
    {'S', kSound},
    {'s', {"SSND", Join({Bytes(8), Noise(999)})}},
    {'Z', {"SSND", Bytes(8)}}, // empty
    {'0', {"SSND", {}}},
    {'M', {"MARK", Text("odd")}},
    {'T', kTag},
    {'t', TagChunk("Old", 1)}, // of an odd size
    {'p', TagChunk("Old", 169)},
    {'P', TagChunk("Old", 600)},
    {'G', TagChunk("Old", 7000)},
    {'B', TagChunk("B")}, // a second tag
    {'b', TagChunk("B", 1)},
    {'l', {"id3 ", kTag.data}},
    {'L', TagChunk("Old", 0, 40)}, // larger than its chunk
    {'E', {"ID3 ", {}}},
    {'N', {"ID3 ", Noise(77)}}, // no tag
    {'k', {"ID3 ", Join({kTag.data, Noise(33)})}},
    {'K', {"ID3 ", Join({kTag.data, Noise(34)})}},
};

inline void PutSize(Bytes& file, size_t position, size_t size)
{
    const Bytes bytes = Big(size, 4);
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<ptrdiff_t>(position));
}

// A file of the chunks whose letters are given (_: an annotation of an even size), with oddities in
// this order: "form" and "first", the sizes that the form (+ or -: relative) and the first chunk
// claim; "cut", bytes missing at the end; "junk" and "noise", bytes after the form; "drop", the
// position of a lost byte; "tag", which reading cannot see ("unread"), or the index neither
// ("hidden").
inline Layout Make(const std::string& notation, size_t annotation = 0)
{
    std::istringstream in(notation);
    std::string word, value;
    in >> word;
    Layout layout{notation, {}, {}, false, false};
    AiffBuilder builder;
    for (const char letter : word) {
        const Chunk chunk =
            letter == '_' ? Chunk{"ANNO", Bytes(annotation, 'a')} : kLetters.at(letter);
        builder.Chunk(chunk.code, chunk.data);
        if (!chunk.IsTag())
            layout.others.push_back(chunk);
        layout.hasTag = layout.hasTag || (chunk.IsTag() && !chunk.data.empty());
    }
    layout.hasForeign = layout.hasTag;
    const Chunk last = word.back() == '_' ? Chunk() : kLetters.at(word.back());
    const size_t pad = last.data.size() % 2;
    Bytes& file = layout.file = builder.Build();
    while (in >> word >> value) {
        const size_t number = static_cast<size_t>(std::atol(value.c_str()));
        const bool isChange = value[0] == '+' || value[0] == '-';
        if (word == "form" || word == "first")
            PutSize(file, word == "form" ? 4 : 16, number + (isChange ? Number(file, 4) : 0));
        else if (word == "cut")
            file.resize(file.size() - number);
        else if (word == "junk" || word == "noise")
            Append(file, word == "noise" ? Noise(number)
                                         : Text("junk that is no chunk"s.substr(0, number)));
        else if (word == "drop")
            file.erase(file.begin() + static_cast<ptrdiff_t>(number));
        if (word == "cut" && number > pad && !last.IsTag())
            layout.others.back().data.resize(last.data.size() + pad - number);
        layout.hasForeign = layout.hasForeign && value != "unread";
        layout.hasTag = layout.hasTag && value != "hidden";
    }
    return layout;
}

inline std::vector<Layout> MakeAll(const char* notations)
{
    std::vector<Layout> layouts;
    std::istringstream in(notations);
    for (std::string notation; std::getline(in, notation, ';');)
        layouts.push_back(Make(notation));
    return layouts;
}

inline std::vector<Layout> EditableLayouts()
{
    return MakeAll("CS;Cs;Cs cut 1;Cs form -1 cut 1;CST;CSt;CSt cut 1;TCSM;tCs;PCS;pCS;CtMSM;CsTM;"
                   "kCS;CSK;tCSb;CStB;tCTSEMb;CST junk 10;CS junk 5;CSl;CSE;ECST;"
                   "CST form 1046 tag hidden;CSM form 0;CsT form -1;CST form +1001;"
                   "CST form 500 tag hidden;CS cut 101;PCS cut 600;CST cut 20 tag unread;"
                   "CSL tag unread;LCS tag unread;NCS tag unread;CT;C;CZT");
}

// What an edit cannot know well enough to be sure that it loses nothing: a lost pad byte,
// recordings that were stopped (no chunk header covers their samples), a form that cuts the
// sound before junk, and first chunks that swallow the sound or more than the file.
inline std::vector<Layout> RefusedLayouts()
{
    return MakeAll("CMST form -1 drop 49 tag hidden;C0 form 0 noise 4000;CZ form 46 noise 4000;"
                   "TCZ noise 4000;CST form 500 junk 21 tag hidden;CST first 1120 tag hidden;"
                   "CST first 1048576 tag hidden;TCS first 1128;TCS first 1048576");
}
