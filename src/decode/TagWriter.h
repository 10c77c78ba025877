// Writing and deleting the tags of a file.
#pragma once

#include "aiff/AIFFHandler.h"
#include "support/file/EditTarget.h"
#include "support/file/FileEdit.h"
#include "tags/NTag.h"

// Reads all tag chunks of an indexed file into one list; fields of earlier chunks come
// before those of later ones. `index` becomes that of the last tag chunk that is not
// empty, or -1. A tag that is larger than its chunk contributes nothing.
// `tags` may be null when only the index is asked for.
void InternalReadTags(const clAIFFHandler& aiff, NTag* tags, int& index,
                      const STNStdReport& report);

// One edit of the tags of one file, from its name to the changed file. Every byte of
// every other chunk survives: the edit is worked out first and carried out only when it
// would lose nothing, and a failure leaves the file as it was.
class TagWriter
{
public:
    enum class Task {
        Write,        // the list's fields are set, the others stay
        DeleteFields, // the fields and pictures that the list names are removed
        DeleteAll     // all tag chunks are removed
    };

    explicit TagWriter(const STNStdReport& report) : m_report(report) {}

    // True on success, also for a file that is no AIFF file: such a file is left alone.
    // False, with the reason in the report, when the file cannot be opened, is held by
    // another writer, would lose something, or cannot be written. The list is used up.
    [[nodiscard]] bool Run(const wchar_t* path, NTag&& tags, Task task);

private:
    bool WorkOut(NTag&& tags, Task task, bool& changes);
    bool CarryOut(FileEdit& edit, const EditTarget& target, const wchar_t* path);
    bool MayReplaceSound() const;
    int LastTagChunk() const;
    bool AddTagChunk(NTag&& tags);
    bool UpdateTagChunk(int index, NTag&& tags, Task task);
    bool WriteTag(int index, NTag&& tags, Task task);
    bool FitChunk(int index, int64_t size);
    bool RemoveTagChunks(int keep);
    bool RemoveTagChunk(int index);
    bool Fail(const wchar_t* path, const XStr& reason) const;

    STNStdReport m_report;
    clAIFFHandler m_aiff;
};
