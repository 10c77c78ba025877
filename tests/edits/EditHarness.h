// Edits of tags through the plug-in, and what must hold after each.
#pragma once

#include "support/ChunkWalker.h"
#include "support/PluginDriver.h"

#include <map>

struct Item {
    std::string name;
    std::string value; // ASCII; several values are joined with "\r"
    Bytes data;
    bool operator==(const Item&) const = default;
};
using Items = std::vector<Item>;

inline Bytes Little(uint64_t value, int count)
{
    Bytes out = Big(value, count);
    std::reverse(out.begin(), out.end());
    return out;
}

inline Bytes Blob(const Items& items)
{
    Bytes blob = Little(items.size(), 4);
    for (const Item& item : items) {
        Bytes body;
        for (const std::string* text : {&item.name, &item.value}) {
            for (const char c : *text)
                Append(body, Little(static_cast<uint8_t>(c), 2));
            Append(body, Bytes(2));
        }
        Append(body, item.data);
        Append(blob, Join({Little(body.size() + 4, 4), body}));
    }
    return blob;
}

inline Items ReadItems(const uint8_t* blob, uint32_t size)
{
    Items items;
    size_t at = 4;
    const auto text = [&] {
        std::string out;
        for (; blob[at] != 0 || blob[at + 1] != 0; at += 2)
            out += static_cast<char>(blob[at]);
        return at += 2, out;
    };
    while (at < size) {
        uint32_t length = 0;
        std::memcpy(&length, blob + at, 4);
        const size_t end = at + length;
        at += 4;
        Item& item = items.emplace_back();
        item.name = text();
        item.value = text();
        item.data.assign(blob + at, blob + end);
        at = end;
    }
    return items;
}

// The tags as the plug-in hands them out, without the tag's version.
inline Items ReadTags(const Plugin& plugin, const std::string& path)
{
    Instance host(plugin);
    Items items;
    if (host.Open(path, QV_OPEN_READ_TAGS, 0) == 1 && host.open.pTagData != nullptr)
        items = ReadItems(host.open.pTagData, host.open.nTagDataSize);
    std::erase_if(items, [](const Item& item) { return item.name == "TagVersion"; });
    return items;
}

inline std::string ValueOf(const Items& items, const std::string& name)
{
    for (const Item& item : items)
        if (item.name == name)
            return item.data.empty() ? item.value : std::string(item.data.begin(), item.data.end());
    return {};
}

inline long FilesIn(const TempDir& dir)
{
    return std::distance(std::filesystem::directory_iterator(dir.Path("")),
                         std::filesystem::directory_iterator());
}

struct Edit {
    enum Kind { Set, Delete, DeleteAll };
    const char* name;
    Kind kind;
    Items items;
};

// One edit, prepared so far that only the plug-in's function is left to be called.
class EditCall
{
public:
    EditCall(const Plugin& plugin, const std::string& path, const Edit& edit,
             const Report* report = nullptr)
        : m_plugin(plugin), m_kind(edit.kind),
          m_host(plugin, report != nullptr ? report->Record() : STNStdReport{}), m_path(Wide(path)),
          m_blob(Blob(edit.items))
    {
        for (const Item& item : edit.items)
            m_names += Wide(item.name) + L'\0';
    }

    int32_t operator()() const
    {
        if (m_kind != Edit::Set)
            return m_plugin.DeleteATag(m_host.handle, m_path.c_str(),
                                       m_kind == Edit::DeleteAll ? nullptr : m_names.c_str());
        STQvCodecGetSet record = {};
        record.pText1 = m_path.c_str();
        record.pData = m_blob.data();
        record.nDataSize = static_cast<int32_t>(m_blob.size());
        return m_plugin.Set(m_host.handle, QV_KEY_ID_TAGS, &record);
    }

private:
    const Plugin& m_plugin;
    Edit::Kind m_kind;
    Instance m_host;
    std::wstring m_path;
    std::wstring m_names;
    Bytes m_blob;
};

inline int32_t ApplyEdit(const Plugin& plugin, const std::string& path, const Edit& edit,
                         const Report* report = nullptr)
{
    return EditCall(plugin, path, edit, report)();
}

inline Bytes Frame(const std::string& id, const Bytes& body)
{
    return Join({Text(id), Big(body.size(), 4), Bytes(2), body});
}

inline const Bytes kForeignFrame =
    Frame("GEOB", Join({Bytes(1), Text("a/b"), Bytes(1), Text("f"), Bytes(1), Text("dj"), Bytes(1),
                        Noise(42, 7)}));

// A tag with a title, a frame that no field represents, and padding.
inline Bytes Tag(const std::string& title, size_t padding = 0, size_t claimsMore = 0)
{
    const Bytes frames =
        Join({Frame("TIT2", Join({Bytes(1), Text(title)})), kForeignFrame, Bytes(padding)});
    const uint64_t size = frames.size() + claimsMore;
    return Join({Text("ID3"),
                 Bytes{3, 0, 0, uint8_t(size >> 21 & 0x7F), uint8_t(size >> 14 & 0x7F),
                       uint8_t(size >> 7 & 0x7F), uint8_t(size & 0x7F)},
                 frames});
}

struct Chunk {
    std::string code;
    Bytes data;
    bool IsTag() const { return code == "ID3 " || code == "id3 "; }
    bool operator==(const Chunk&) const = default;
};

struct Layout {
    std::string name;
    Bytes file;
    std::vector<Chunk> others; // all chunks but the tags, which every edit keeps
    std::string title;         // that reading shows
    bool hasTag = false;       // the index shows a tag chunk that is not empty
    bool hasForeign = false;   // a tag that can be read holds kForeignFrame
    friend void PrintTo(const Layout& layout, std::ostream* out) { *out << layout.name; }
};

inline const Chunk kCommon{"COMM", Join({Big(1, 2), Big(500, 4), Big(16, 2), Extended(44100)})};
inline const Chunk kSound{"SSND", Join({Bytes(8), Noise(1000)})};
inline const Chunk kOddSound{"SSND", Join({Bytes(8), Noise(999)})};
inline const Chunk kMarks{"MARK", Text("odd")};

// A file of these chunks; `change` makes it odd in other ways.
inline Layout Make(
    const std::string& name, const std::vector<Chunk>& chunks, const std::string& title = "",
    void (*change)(Layout&) = [](Layout&) {})
{
    Layout layout{name, {}, {}, title, false, !title.empty()};
    AiffBuilder builder;
    for (const Chunk& chunk : chunks) {
        builder.Chunk(chunk.code, chunk.data);
        if (!chunk.IsTag())
            layout.others.push_back(chunk);
        layout.hasTag = layout.hasTag || (chunk.IsTag() && !chunk.data.empty());
    }
    layout.file = builder.Build();
    change(layout);
    return layout;
}

inline void PutSize(Bytes& file, size_t position, size_t size)
{
    const Bytes bytes = Big(size, 4);
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<ptrdiff_t>(position));
}

inline std::vector<Edit> AllEdits()
{
    return {{"set", Edit::Set, {{"Title", "New", {}}, {"Artist", "Me\rYou", {}}}},
            {"picture",
             Edit::Set,
             {{"Title", "New", {}},
              {"_albumart_1_Front Album Cover", "", Join({{0x89}, Text("PNG"), Noise(5001)})}}},
            {"delete", Edit::Delete, {{"Title", "", {}}}},
            {"delete all", Edit::DeleteAll, {}}};
}

// Empty when a file that was edited is a well-formed one that has lost nothing, else
// what is wrong with it.
inline std::string WhatIsWrong(const Layout& layout, const Edit& edit, const Bytes& file)
{
    if (edit.kind != Edit::Set && !layout.hasTag)
        return file == layout.file ? "" : "a file without tags was changed";
    std::vector<Chunk> others;
    long tags = 0;
    try {
        for (const WalkedChunk& chunk : WalkStrictly(file).chunks) {
            others.push_back({chunk.code, chunk.data});
            if (others.back().IsTag()) {
                ++tags;
                others.pop_back();
            }
        }
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    if (others != layout.others)
        return "other chunks were changed";
    if (tags != (edit.kind == Edit::DeleteAll ? 0 : 1))
        return std::to_string(tags) + " tag chunks";
    if (edit.kind != Edit::DeleteAll && layout.hasForeign &&
        std::search(file.begin(), file.end(), kForeignFrame.begin(), kForeignFrame.end()) ==
            file.end())
        return "a frame is lost";
    return "";
}

// Empty when reading gives what was set, and not what was deleted.
inline std::string WhatReadsWrong(const Plugin& plugin, const std::string& path,
                                  const Layout& layout, const Edit& edit)
{
    const Items items = ReadTags(plugin, path);
    std::map<std::string, std::string> expected = {{"Title", layout.title}};
    for (const Item& item : edit.items)
        expected[item.name] = ValueOf({item}, item.name);
    if (edit.kind == Edit::DeleteAll)
        expected["Title"] = "";
    for (const auto& [name, value] : expected)
        if (ValueOf(items, name) != value)
            return name + " is '" + ValueOf(items, name) + "'";
    return "";
}
