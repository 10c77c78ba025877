// SPDX-License-Identifier: MIT

// An edit of the tags of a hostile file. An input is a byte that chooses the edit, and
// the file. Whatever the file is: a refused edit leaves it alone, a successful one
// leaves a well-formed file that has lost no chunk, and reading gives what was set.

#include "Fuzz.h"
#include "decode/TagWriter.h"
#include "edits/Layouts.h"
#include "support/TempDir.h"

#include <functional>
#include <set>
#include <tuple>

using namespace aiff;

// Whether the disk holds the bytes is not what is tested here.
extern "C" int fsync(int)
{
    return 0;
}

namespace
{

enum Choice { kSetTitle, kSetPicture, kDeleteTitle, kDeleteAll, kWriteBack, kChoices };

using Chunks = std::vector<WalkedChunk>;

// The chunks of a file that is nothing but whole chunks; the last may lack its pad byte.
std::optional<Chunks> WalkWhole(const Bytes& file, bool printable)
{
    const auto isOdd = [](char c) { return c < ' ' || c > '~'; };
    Chunks chunks;
    for (size_t at = 12; at < file.size();) {
        const size_t size = file.size() - at < 8 ? SIZE_MAX : Number(file, at + 4);
        if (size == SIZE_MAX || size > file.size() - at - 8)
            return std::nullopt;
        chunks.push_back(ChunkAt(file, at, size));
        if (printable && std::ranges::any_of(chunks.back().code, isOdd))
            return std::nullopt;
        at += 8 + size + size % 2;
    }
    return chunks;
}

// The chunks that an edit has to keep: those of the form, the last one with all that
// the file holds of it, or those of the whole file where it consists of chunks.
// `isCut` becomes whether the last one claims more than there is.
Chunks PartsOf(const Bytes& file, bool& isCut)
{
    const size_t formEnd = Number(file, 4) + 8;
    Chunks parts;
    isCut = false;
    size_t at = 12;
    while (at < formEnd && at + 8 <= file.size() && !isCut) {
        const size_t size = Number(file, at + 4);
        isCut = size > file.size() - at - 8 || (size > 0 && at + 8 + size > formEnd);
        parts.push_back(ChunkAt(file, at, isCut ? file.size() - at - 8 : size));
        at += 8 + size + size % 2;
    }
    if (isCut || at < file.size())
        return WalkWhole(file, true).value_or(parts);
    return parts;
}

const STNStdReport kSilent = {};

// `isTag` becomes whether a tag can be read, whatever it holds.
NTag ReadTags(const std::wstring& path, bool* isTag = nullptr)
{
    XFile file;
    clAIFFHandler aiff;
    TagItems items;
    int index = -1;
    if (file.Open(path.c_str()) && aiff.Initialize(file.Handle(), kSilent))
        InternalReadTags(aiff, &items, index, kSilent);
    NTag tags = items.List();
    const bool isRead = tags.RemoveTag(L"TagVersion"); // is not kept
    if (isTag != nullptr)
        *isTag = isRead;
    return tags;
}

std::multiset<std::tuple<XStr, XStr, Bytes>> Items(const NTag& list)
{
    std::multiset<std::tuple<XStr, XStr, Bytes>> items;
    for (long i = 0; i < list.Count(); ++i)
        items.emplace(list[i].name, list[i].value, list[i].data);
    return items;
}

// The items that an edit does not name. The pictures' names count them, so they are
// compared only where none comes or goes.
NTag Untouched(int choice, NTag tags)
{
    if (choice == kSetTitle || choice == kDeleteTitle)
        tags.RemoveTag(L"Title");
    if (choice == kSetPicture)
        tags.DropTagsBeginUnderScore(0);
    return tags;
}

NTag ListFor(int choice, const std::wstring& path)
{
    NTag list;
    if (choice == kSetTitle || choice == kDeleteTitle)
        list.AddTag(L"Title", choice == kSetTitle ? L"New" : L"");
    else if (choice == kSetPicture)
        list.AddTag(kCover, Text("\x89PNG and so on").data(), 14);
    else if (choice == kWriteBack)
        list = ReadTags(path);
    return list;
}

bool EditFile(int choice, const std::wstring& path, NTag list)
{
    const TagWriter::Task task = choice == kDeleteTitle ? TagWriter::Task::DeleteFields
                                 : choice == kDeleteAll ? TagWriter::Task::DeleteAll
                                                        : TagWriter::Task::Write;
    return TagWriter(kSilent, Durability::Unflushed).Run(path.c_str(), std::move(list), task);
}

// Whether the tag keeps its revision: in another one some values cannot be told apart.
// One that is cut off in the file, but not in the form, is shown and not kept.
bool KeepsRevision(Chunks parts, bool isCut)
{
    std::erase_if(parts, std::not_fn(std::mem_fn(&WalkedChunk::IsTag)));
    return !isCut && parts.size() == 1 && parts[0].data.size() > 3 && parts[0].data[3] >= 3;
}

void CheckTags(int choice, bool keepsAll, const NTag& before, NTag after)
{
    if (choice == kSetTitle)
        Require(after.GetTagValue(L"Title") == L"New", "what was set reads back");
    if (choice == kSetPicture)
        Require(after.FindElement(kCover) != nullptr &&
                    after.FindElement(kCover)->data.size() == 14,
                "the picture reads back");
    if (choice == kDeleteTitle)
        Require(after.FindElement(L"Title") == nullptr, "what was deleted is gone");
    if (choice == kDeleteAll)
        Require(after.Count() == 0, "all tags are gone");
    else if (keepsAll)
        // Fields before the damage in a tag may show that did not before.
        Require(std::ranges::includes(Items(after), Items(Untouched(choice, before))),
                "what the edit does not name stays");
}

void CheckFile(int choice, Chunks before, const Bytes& after)
{
    Require(Number(after, 4) == after.size() - 8, "the form fills the file");
    auto parts = WalkWhole(after, false);
    Require(parts.has_value(), "the file consists of chunks");
    Require(std::erase_if(*parts, std::mem_fn(&WalkedChunk::IsTag)) == (choice != kDeleteAll),
            "there is one tag chunk, or none");
    std::erase_if(before, std::mem_fn(&WalkedChunk::IsTag));
    Require(*parts == before, "all other chunks are kept");
}

} // namespace

std::vector<Bytes> Seeds()
{
    const std::string notes =
        "TIT2:Old|PRIV=own\0bytes|TPE1:|TPE2:a/b|TYER:2004|TDAT:1503|TCON:(17)|COMM:engx\0y|"
        "USLT:eng\0|TXXX:k\0|POPM=a\0\x40|WXXX:\0http://b|APIC:image/png\0\3\0\x89PNG"s;
    const Bytes padded = TagOf(4, Frames(4, notes) + std::string(20, '\0'));
    AiffBuilder last, first;
    last.Chunk("COMM", kCommon.data).Chunk("SSND", kSound.data).Chunk("ID3 ", Tag(3, notes));
    first.Chunk("ID3 ", padded).Chunk("SSND", kSound.data);
    std::vector<Bytes> files = {last, first};
    for (const Layout& layout : EditableLayouts())
        files.push_back(layout.file);
    std::vector<Bytes> seeds;
    for (const Bytes& file : files)
        for (uint8_t choice = 0; choice < kChoices; ++choice)
            seeds.push_back(Join({{choice}, file}));
    return seeds;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    static const TempDir dir;
    if (size < 1)
        return 0;
    const int choice = bytes[0] % kChoices;
    const Bytes before(bytes + 1, bytes + size);
    const std::string name = dir.Write("a.aiff", before);
    const std::wstring path(name.begin(), name.end());
    bool isTag = false;
    const NTag tags = ReadTags(path, &isTag);
    if (choice == kWriteBack && tags.Count() == 0)
        return 0;
    const bool isDone = EditFile(choice, path, ListFor(choice, path));
    const Bytes after = ReadFile(name);
    Require(isDone || after == before, "a refused edit leaves the file alone");
    Require(std::distance(std::filesystem::directory_iterator(dir.Path("")), {}) == 1,
            "no other file stays behind");
    if (!isDone || after == before)
        return 0;
    bool isCut = false;
    const Chunks parts = PartsOf(before, isCut);
    CheckFile(choice, parts, after);
    CheckTags(choice, KeepsRevision(parts, isCut), tags, ReadTags(path));
    Require(EditFile(choice, path, ListFor(choice, path)), "the edit can be made once more");
    // What an unreadable tag hid may show in another revision, and be replaced then.
    if (!isTag && std::ranges::any_of(parts, &WalkedChunk::IsTag))
        return 0;
    Require(ReadFile(name) == after, "the same edit once more changes nothing");
    return 0;
}
