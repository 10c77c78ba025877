#include "aiff/CommitEdit.h"

#include "aiff/AIFFHandler.h"
#include "support/file/InPlaceWriter.h"
#include "support/file/ReplaceFile.h"

#include <algorithm>
#include <array>
#include <new>

namespace aiff
{

namespace
{

constexpr int64_t kFormSizeOffset = 4;
using SizeField = std::array<uint8_t, 4>;

bool ReadFormSize(const FileContent& content, SizeField& field)
{
    return content.ReadAt(kFormSizeOffset, field) == field.size();
}

bool IsFormSize(const FileEdit::Change& change)
{
    return change.position >= kFormSizeOffset && change.End() <= kFormSizeOffset + 4;
}

bool MayBeSizeField(const FileEdit::Change& change)
{
    return change.bytes.size() <= SizeField().size();
}

// Whether a size field before the tail grows and more than one of its bytes changes: half
// written, it would send a reader past the chunks that follow. One that shrinks is that of
// the last chunk, which the end of the file bounds meanwhile.
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

// Writes what the edit changes between two positions, except for the form's size.
std::error_code WriteParts(InPlaceWriter& writer, const std::vector<FileEdit::Change>& changes,
                           int64_t from, int64_t to)
{
    for (const FileEdit::Change& change : changes) {
        const FileEdit::Change part = Part(change, from, to);
        if (part.bytes.empty() || IsFormSize(change))
            continue;
        const std::error_code error = MayBeSizeField(part)
                                          ? writer.WriteSize(part.position, part.bytes)
                                          : writer.Write(part.position, part.bytes);
        if (error)
            return error;
    }
    return {};
}

// While the end of the file is rewritten, the form ends before the tail, wherever it ended
// before: whoever reads the file then, or after a crash, sees whole chunks and stray bytes
// after them. The file is truncated last, when nothing that would need those bytes can
// fail any more.
std::error_code ChangeInPlace(const FileEdit& edit, DiskFile& file, InPlaceWriter& writer,
                              int64_t tailStart)
{
    const std::vector<FileEdit::Change> changes = edit.Changes();
    const int64_t fileEnd = edit.BaseSize();
    const int64_t tail = std::min(tailStart, fileEnd);
    SizeField formBefore;
    SizeField formAfter;
    if (!ReadFormSize(*edit.Base(), formBefore) || !ReadFormSize(edit, formAfter))
        return make_error_code(std::errc::io_error);
    const bool formChanges = formBefore != formAfter;
    std::error_code error = WriteParts(writer, changes, 0, tail);
    const int64_t formEnd = clAIFFHandler::SizeToInt64(formBefore.data()) + kChunkHeaderSize;
    if (!error && formChanges && formEnd != tail) {
        SizeField hidden;
        clAIFFHandler::Int64ToSize(tail - kChunkHeaderSize, hidden.data());
        error = writer.WriteSize(kFormSizeOffset, hidden);
    }
    // What needs new room on the disk comes first.
    if (!error)
        error = WriteParts(writer, changes, fileEnd, edit.Size());
    if (!error)
        error = WriteParts(writer, changes, tail, fileEnd);
    if (!error && formChanges)
        error = writer.WriteSize(kFormSizeOffset, formAfter);
    if (!error && edit.Size() < fileEnd)
        error = file.SetSize(edit.Size());
    return error;
}

// Running out of memory is a failure like any other: what was written is undone.
std::error_code TryChangeInPlace(const FileEdit& edit, DiskFile& file, InPlaceWriter& writer,
                                 int64_t tailStart)
{
    try {
        return ChangeInPlace(edit, file, writer, tailStart);
    } catch (const std::bad_alloc&) {
        return make_error_code(std::errc::not_enough_memory);
    }
}

} // namespace

CommitResult CommitEdit(FileEdit& edit, const EditTarget& target, int64_t tailStart)
{
    using File = CommitResult::File;
    DiskFile& file = *target.File();
    if (const auto error = edit.KeepMovedBytes(tailStart))
        return {File::AsBefore, error};
    if (edit.MovesBaseBytes() || GrowsInside(edit, tailStart)) {
        const std::error_code error = ReplaceFile(target, edit);
        return {error ? File::AsBefore : File::Changed, error};
    }
    InPlaceWriter writer(file);
    const std::error_code error = TryChangeInPlace(edit, file, writer, tailStart);
    if (!error)
        return {};
    return {writer.Undo() ? File::AsBefore : File::Damaged, error};
}

} // namespace aiff
