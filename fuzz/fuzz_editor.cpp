// SPDX-License-Identifier: MIT

// An edit of the tags of a hostile file. An input is a byte that chooses the edit, and
// the file. Whatever the file is: a refused edit leaves it alone, a successful one
// leaves a well-formed file that has lost no chunk, and reading gives what was set. The file is
// in memory; some edits are made on disk, too, and give the same.

#include "Fuzz.h"
#include "InMemory.h"
#include "OddTags.h"
#include "decode/TagWriter.h"
#include "edits/Layouts.h"
#include "support/TempDir.h"
#include "tags/TagPictures.h"

#include <functional>
#include <numeric>
#include <set>
#include <tuple>

using namespace aiff;

namespace
{

enum Choice : uint8_t { kSetTitle, kSetPicture, kDeleteTitle, kDeleteAll, kWriteBack, kChoices };

// The bits of the first byte.
constexpr uint8_t kChoice = 0x07, kFlushed = 0x08;

using Chunks = std::vector<WalkedChunk>;

// The chunks up to an offset in a file. One that goes beyond that offset is cut off: it has all
// that the file holds of it.
struct Walk {
    Chunks chunks;
    size_t end = 12; // of the last chunk
    bool isCut = false;
};

Walk WalkTo(size_t end, const Bytes& file)
{
    Walk walk;
    while (walk.end < end && walk.end + 8 <= file.size() && !walk.isCut) {
        const size_t size = Number(file, walk.end + 4), left = file.size() - walk.end - 8;
        walk.isCut = size > left || (size > 0 && walk.end + 8 + size > end);
        walk.chunks.push_back(ChunkAt(file, walk.end, walk.isCut ? left : size));
        walk.end += 8 + size + size % 2;
    }
    return walk;
}

// Whether a file is nothing but whole chunks; the last may lack its pad byte.
bool IsWhole(const Walk& walk, const Bytes& file)
{
    return !walk.isCut && walk.end >= file.size();
}

// The chunks that an edit has to keep: those of the form, or those of the whole file where it
// consists of chunks with printable names.
Walk PartsOf(const Bytes& file)
{
    Walk form = WalkTo(Number(file, 4) + 8, file), all = WalkTo(file.size(), file);
    const auto isPrintable = [](const WalkedChunk& chunk) {
        return std::ranges::all_of(chunk.code, [](char c) { return c >= ' ' && c <= '~'; });
    };
    if (!IsWhole(form, file) && IsWhole(all, file) && std::ranges::all_of(all.chunks, isPrintable))
        form.chunks = all.chunks;
    return form;
}

const STNStdReport kSilent = {};
const Bytes kPicture = Text("\x89PNG and so on");

// `isTag` becomes whether a tag can be read, whatever it holds.
NTag ReadTags(const std::wstring& path, bool& isTag)
{
    XFile file;
    clAIFFHandler aiff;
    TagItems items;
    int index = -1;
    if (file.Open(path.c_str()) && aiff.Initialize(file.Handle(), kSilent))
        InternalReadTags(aiff, &items, index, kSilent);
    NTag tags = items.List();
    isTag = tags.RemoveTag(L"TagVersion"); // is not kept
    return tags;
}

// Without the pictures' numbers: an edit moves front covers before the others.
std::multiset<std::tuple<XStr, XStr, Bytes>> Items(const NTag& list)
{
    std::multiset<std::tuple<XStr, XStr, Bytes>> items;
    for (long i = 0; i < list.Count(); ++i) {
        XStr name = list[i].name;
        if (IsAlbumArt(list[i]))
            name.erase(0, name.find(L'_', XStr(kAlbumArtPrefix).size()));
        items.emplace(name, list[i].value, list[i].data);
    }
    return items;
}

// The items that an edit does not name. A picture that is set replaces some of the others,
// so none is compared then.
NTag Untouched(int choice, NTag tags)
{
    if (choice == kSetTitle || choice == kDeleteTitle)
        tags.RemoveTag(L"Title");
    if (choice == kSetPicture)
        tags.DropTagsBeginUnderScore(0);
    return tags;
}

bool EditFile(int choice, Durability durability, const std::wstring& path, const NTag& tags)
{
    NTag list;
    if (choice == kSetTitle || choice == kDeleteTitle)
        list.AddTag(L"Title", choice == kSetTitle ? L"New" : L"");
    else if (choice == kSetPicture)
        list.AddTag(kCover, kPicture.data(), kPicture.size());
    else if (choice == kWriteBack)
        list = tags;
    const TagWriter::Task task = choice == kDeleteTitle ? TagWriter::Task::DeleteFields
                                 : choice == kDeleteAll ? TagWriter::Task::DeleteAll
                                                        : TagWriter::Task::Write;
    return TagWriter(kSilent, durability).Run(path.c_str(), std::move(list), task);
}

// Whether the tag keeps its revision: in another one some values cannot be told apart.
// One that is cut off in the file, but not in the form, is shown and not kept.
bool KeepsRevision(const Walk& parts)
{
    const auto isTag = std::mem_fn(&WalkedChunk::IsTag);
    const auto tag = std::ranges::find_if(parts.chunks, isTag);
    return !parts.isCut && std::ranges::count_if(parts.chunks, isTag) == 1 &&
           tag->data.size() > 3 && tag->data[3] >= 3;
}

void CheckTags(int choice, bool keepsAll, const NTag& before, NTag after)
{
    const auto *const title = after.FindElement(L"Title"), *const cover = after.FindElement(kCover);
    if (choice == kSetTitle)
        Require(title != nullptr && title->value == L"New", "what was set reads back");
    if (choice == kSetPicture)
        Require(cover != nullptr && cover->data == kPicture, "the picture reads back");
    if (choice == kDeleteTitle)
        Require(title == nullptr, "what was deleted is gone");
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
    Walk walk = WalkTo(after.size(), after);
    Require(IsWhole(walk, after), "the file consists of chunks");
    Require(std::erase_if(walk.chunks, std::mem_fn(&WalkedChunk::IsTag)) == (choice != kDeleteAll),
            "there is one tag chunk, or none");
    std::erase_if(before, std::mem_fn(&WalkedChunk::IsTag));
    Require(walk.chunks == before, "all other chunks are kept");
}

void CheckOnDisk(int choice, Durability durability, const Bytes& before, const NTag& tags,
                 bool isDone, const Bytes& after)
{
    static const TempDir dir;
    const std::string name = dir.Write("a.aiff", before);
    Require(EditFile(choice, durability, {name.begin(), name.end()}, tags) == isDone &&
                ReadFile(name) == after,
            "an edit does the same on disk as in memory");
}

} // namespace

std::vector<Bytes> Seeds()
{
    const std::string notes =
        "TIT2:Old|PRIV=own\0bytes|TPE1:|TPE2:a/b|TYER:2004|TDAT:1503|TCON:(17)|COMM:engx\0y|"
        "USLT:eng\0|TXXX:k\0|POPM=a\0\x40|WXXX:\0http://b|APIC:image/jpeg\0\0\0other|"
        "APIC:image/png\0\3\0\x89PNG"s;
    const Bytes padded = TagOf(4, Frames(4, notes) + std::string(20, '\0'));
    AiffBuilder last, first;
    last.Chunk("COMM", kCommon.data).Chunk("SSND", kSound.data).Chunk("ID3 ", Tag(3, notes));
    first.Chunk("ID3 ", padded).Chunk("SSND", kSound.data);
    std::vector<Bytes> files = {last, first};
    for (const Layout& layout : EditableLayouts())
        files.push_back(layout.file);
    for (const Bytes& tag : OddTags())
        files.push_back(AiffBuilder().Comm(1, 8, 9).Chunk("ID3 ", tag).Ssnd(Noise(9)));
    std::vector<Bytes> seeds;
    for (const Bytes& file : files)
        for (const uint8_t choice : {kSetTitle, kSetPicture, kDeleteTitle, kDeleteAll, kWriteBack})
            seeds.push_back(Join({{choice}, file}));
    for (const Bytes& file : files)
        seeds.push_back(Join({{kSetTitle | kFlushed}, file}));
    return seeds;
}

size_t StructureAt(const Bytes&)
{
    return 1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    if (size < 1)
        return 0;
    const int choice = (bytes[0] & kChoice) % kChoices;
    const Durability durability =
        (bytes[0] & kFlushed) != 0 ? Durability::Flushed : Durability::Unflushed;
    const Bytes before(bytes + 1, bytes + size);
    const std::wstring path = InMemory::OnlyFile(before);
    bool isTag = false, isStillTag = false;
    const NTag tags = ReadTags(path, isTag);
    if (choice == kWriteBack && tags.Count() == 0)
        return 0;
    const bool isDone = EditFile(choice, durability, path, tags);
    const Bytes after = InMemory::File();
    Require(isDone || after == before, "a refused edit leaves the file alone");
    Require(InMemory::CountFiles() == 1, "no other file is left");
    if (std::accumulate(bytes, bytes + size, 0u) % 64 == 0) // a disk takes its time
        CheckOnDisk(choice, durability, before, tags, isDone, after);
    if (!isDone || after == before)
        return 0;
    const Walk parts = PartsOf(before);
    CheckFile(choice, parts.chunks, after);
    const NTag changed = ReadTags(path, isStillTag);
    CheckTags(choice, KeepsRevision(parts), tags, changed);
    Require(EditFile(choice, durability, path, changed), "the edit can be made once more");
    // What an unreadable tag hid may show in another revision, and be replaced then.
    if (!isTag && std::ranges::any_of(parts.chunks, &WalkedChunk::IsTag))
        return 0;
    // Of several tags, reading shows one, and writing that back leaves more to be shown.
    if (choice == kWriteBack && Items(changed) != Items(tags))
        return 0;
    Require(InMemory::File() == after, "the same edit once more changes nothing");
    return 0;
}
