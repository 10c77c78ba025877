#include "aiff/CommitEdit.h"

#include "aiff/AIFFHandler.h"
#include "support/file/InPlaceWriter.h"
#include "support/file/ReplaceFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>

namespace
{

constexpr int64_t kFormSizeOffset = 4;
using SizeField = std::array<uint8_t, 4>;

bool ReadFormSize(const FileContent& content, SizeField& field)
{
    if (content.ReadAt(kFormSizeOffset, field) == field.size())
        return true;
    errno = EIO;
    return false;
}

bool IsFormSize(const FileEdit::Change& change)
{
    return change.position >= kFormSizeOffset && change.End() <= kFormSizeOffset + 4;
}

bool MayBeSizeField(const FileEdit::Change& change)
{
    return change.bytes.size() <= SizeField().size();
}

// Whether a size field in front of the tail grows by more than one byte of it: written
// by half it would send a reader past the chunks behind it. One that shrinks is that
// of the last chunk, whose end the file sets meanwhile.
bool GrowsInside(const FileEdit& edit, int64_t tailStart)
{
    return std::ranges::any_of(edit.Changes(), [&](const FileEdit::Change& change) {
        if (IsFormSize(change) || !MayBeSizeField(change) || change.bytes.size() == 1 ||
            change.End() > tailStart)
            return false;
        SizeField before = {};
        const auto field = std::span(before).first(change.bytes.size());
        return edit.Base()->ReadAt(change.position, field) != field.size() ||
               std::ranges::lexicographical_compare(field, change.bytes);
    });
}

// The part of a change inside a range of positions; empty when there is none.
FileEdit::Change Part(const FileEdit::Change& change, int64_t from, int64_t to)
{
    const int64_t start = std::clamp(from, change.position, change.End());
    const int64_t end = std::clamp(to, start, change.End());
    return {start, change.bytes.subspan(static_cast<size_t>(start - change.position),
                                        static_cast<size_t>(end - start))};
}

bool WriteParts(InPlaceWriter& writer, const std::vector<FileEdit::Change>& changes, int64_t from,
                int64_t to)
{
    return std::ranges::all_of(changes, [&](const FileEdit::Change& change) {
        const FileEdit::Change part = Part(change, from, to);
        if (part.bytes.empty() || IsFormSize(change))
            return true;
        return MayBeSizeField(part) ? writer.WriteSize(part.position, part.bytes)
                                    : writer.Write(part.position, part.bytes);
    });
}

// While the end of the file is rewritten the form ends in front of it, wherever it
// ended before: whoever reads the file then, or after a crash, sees whole chunks and
// stray bytes behind them. The file is cut last, when nothing can fail any more that
// would need the bytes.
bool ChangeInPlace(const FileEdit& edit, DiskFile& file, InPlaceWriter& writer, int64_t tailStart)
{
    const std::vector<FileEdit::Change> changes = edit.Changes();
    const int64_t fileEnd = edit.BaseSize();
    const int64_t tail = std::min(tailStart, fileEnd);
    SizeField formBefore;
    SizeField formAfter;
    if (!ReadFormSize(*edit.Base(), formBefore) || !ReadFormSize(edit, formAfter))
        return false;
    const bool formChanges = formBefore != formAfter;
    if (!WriteParts(writer, changes, 0, tail))
        return false;
    const int64_t formEnd = clAIFFHandler::SizeToInt64(formBefore.data()) + kChunkHeaderSize;
    if (formChanges && formEnd != tail) {
        SizeField hidden;
        clAIFFHandler::Int64ToSize(tail - kChunkHeaderSize, hidden.data());
        if (!writer.WriteSize(kFormSizeOffset, hidden))
            return false;
    }
    // What needs new room on the disk comes first.
    if (!WriteParts(writer, changes, fileEnd, edit.Size()) ||
        !WriteParts(writer, changes, tail, fileEnd))
        return false;
    if (formChanges && !writer.WriteSize(kFormSizeOffset, formAfter))
        return false;
    return edit.Size() >= fileEnd || file.SetSize(edit.Size());
}

// Memory that cannot be had is a failure like any other: what was written is put back.
bool TryChangeInPlace(const FileEdit& edit, DiskFile& file, InPlaceWriter& writer,
                      int64_t tailStart)
{
    try {
        return ChangeInPlace(edit, file, writer, tailStart);
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
}

} // namespace

CommitResult CommitEdit(FileEdit& edit, const EditTarget& target, int64_t tailStart)
{
    DiskFile& file = *target.File();
    if (!edit.KeepMovedBytes(tailStart)) {
        errno = EIO;
        return CommitResult::Unchanged;
    }
    if (edit.MovesBaseBytes() || GrowsInside(edit, tailStart))
        return ReplaceFile(file, target.Path(), edit) ? CommitResult::Done
                                                      : CommitResult::Unchanged;
    InPlaceWriter writer(file);
    if (TryChangeInPlace(edit, file, writer, tailStart))
        return CommitResult::Done;
    const int reason = errno;
    const bool undone = writer.Undo();
    errno = reason;
    return undone ? CommitResult::Unchanged : CommitResult::Damaged;
}
