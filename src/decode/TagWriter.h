// SPDX-License-Identifier: MIT

// Writing and deleting the tags of a file.
#pragma once

#include "aiff/AIFFHandler.h"
#include "support/file/EditTarget.h"
#include "support/file/FileEdit.h"
#include "support/file/FlushFile.h"
#include "tags/NTag.h"
#include "tags/TagID3v2.h"
#include "tags/TagItems.h"

namespace aiff
{

// Adds the items of all tag chunks of an indexed file, in their order. A tag that is damaged
// or larger than its chunk contributes nothing.
//
// items  null when only the index is wanted
// index  becomes that of the last tag chunk that is not empty, or -1
void InternalReadTags(const clAIFFHandler& aiff, TagItems* items, int& index,
                      const STNStdReport& report);

// Edits the tags of a file, once. Every byte of every other chunk survives: the edit is
// worked out first and carried out only when it would lose nothing. Readers see the old tag or
// the new one, whatever fails.
class TagWriter
{
public:
    enum class Task {
        Write,        // the fields of the list are set, the others stay
        DeleteFields, // the fields and pictures that the list names are removed
        DeleteAll     // all tag chunks are removed
    };

    TagWriter(const STNStdReport& report, Durability durability)
        : m_report(report), m_durability(durability)
    {
    }

    // Tags of another file to be merged into the tag that Run writes. See
    // TagID3v2::AddForeignTag.
    void AddForeignTag(std::span<const uint8_t> tag) { m_foreign.push_back(tag); }

    // Makes the tag that Run writes, in the place of its list.
    void SetMaker(TagMaker maker) { m_maker = std::move(maker); }

    // True on success, and also for a file that is not an AIFF file, which is left alone.
    // False, with the reason reported, when the file cannot be opened, is locked by
    // another writer, would lose something, or cannot be written. Consumes the list.
    [[nodiscard]] bool Run(const wchar_t* path, NTag&& tags, Task task);

private:
    bool PlanEdit(NTag&& tags, Task task, bool& changes);
    bool Commit(FileEdit& edit, EditTarget& target, const wchar_t* path);
    bool MayReplaceSound() const;
    int LastTagChunk() const;
    bool AddTagChunk(NTag&& tags);
    bool UpdateTagChunk(int index, NTag&& tags, Task task);
    bool WriteTag(int index, NTag&& tags, Task task);
    bool FitChunk(int index, int64_t size);
    bool RemoveLeftFillers();
    bool RemoveTagChunks(int keep);
    bool RemoveTagChunk(int index);
    bool Fail(const wchar_t* path, const XStr& reason) const;

    STNStdReport m_report;
    Durability m_durability;
    clAIFFHandler m_aiff;
    std::vector<std::span<const uint8_t>> m_foreign;
    TagMaker m_maker;
};

} // namespace aiff
