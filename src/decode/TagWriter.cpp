#include "decode/TagWriter.h"

#include "aiff/CommitEdit.h"
#include "tags/TagID3v2.h"

#include <cerrno>
#include <limits>

using StdReport::Operation;

namespace
{

constexpr const char* kTagWriter = "IDTagWriter";
constexpr uint32_t kNewChunkSize = 10; // an ID3v2 header

bool IsTagChunk(const STRIFFChunk& chunk)
{
    return clAIFFHandler::CompareID(chunk.ID, kChunkID3, true);
}

} // namespace

void InternalReadTags(const clAIFFHandler& aiff, NTag* tags, int& index, const STNStdReport& report)
{
    const Operation operation(report, "InternalReadTags");
    index = -1;
    if (tags != nullptr)
        tags->Destroy();
    for (int i = 0; i < aiff.Count(); ++i) {
        const STRIFFChunk& chunk = *aiff.GetChunk(i);
        if (!IsTagChunk(chunk) || chunk.nSize == 0)
            continue;
        index = i;
        if (tags == nullptr)
            continue;
        TagID3v2 tag(aiff.Handle(), chunk.FileDataPosition);
        tag.SetRegion(chunk.nSize, false);
        NTag fresh;
        if (tag.Read(fresh)) // a damaged tag shows nothing
            tags->MergeFrom(std::move(fresh), false);
    }
    operation.Succeed();
}

bool TagWriter::Run(const wchar_t* path, const NTag& tags, Task task)
{
    const Operation operation(m_report, kTagWriter);
    StdReport::WriteDEBUG({L"Opening file '", path, L"' for write access: "}, m_report, nullptr,
                          false);
    EditTarget target;
    if (path == nullptr || !target.Open(path)) {
        StdReport::WriteERROR(
            {L"Error opening file '", path, L"' check no other program has it open."}, m_report,
            kTagWriter);
        return false;
    }
    StdReport::WriteDEBUG(L"Opened", m_report);
    const auto edit = std::make_shared<FileEdit>(target.File());
    if (!m_aiff.Initialize(edit, m_report) || edit->BaseSize() == 0)
        return operation.Succeed(); // no AIFF file, or an empty one: left alone
    bool changes = false;
    if (!WorkOut(tags, task, changes))
        return false;
    if (changes && !CarryOut(*edit, target, path))
        return false;
    return operation.Succeed();
}

// Makes the edit in memory. `changes` stays false when there is nothing to do.
bool TagWriter::WorkOut(const NTag& tags, Task task, bool& changes)
{
    int index = -1;
    InternalReadTags(m_aiff, nullptr, index, m_report);
    if (index < 0 && task != Task::Write)
        return true;
    changes = true;
    if (!m_aiff.PrepareForEdit())
        return false;
    if (task == Task::DeleteAll)
        return RemoveTagChunks(-1);
    index = LastTagChunk();
    return index < 0 ? AddTagChunk(tags) : UpdateTagChunk(index, tags, task);
}

// The chunk that the tag goes into: the last one that is not empty, else the last.
int TagWriter::LastTagChunk() const
{
    int index = -1;
    for (int i = 0; i < m_aiff.Count(); ++i)
        if (IsTagChunk(*m_aiff.GetChunk(i)) &&
            (index < 0 || m_aiff.GetChunk(i)->nSize != 0 || m_aiff.GetChunk(index)->nSize == 0))
            index = i;
    return index;
}

// A new chunk stands behind the last one and its pad byte, whether the file has that
// byte or not, and on stray bytes.
bool TagWriter::AddTagChunk(const NTag& tags)
{
    if (!m_aiff.SetPosition(m_aiff.GetFormSize() + kChunkHeaderSize) ||
        !m_aiff.AddNewChunkToFile(kChunkID3, kNewChunkSize))
        return false;
    int index = -1;
    InternalReadTags(m_aiff, nullptr, index, m_report);
    return WriteTag(index, tags, Task::Write);
}

bool TagWriter::UpdateTagChunk(int index, const NTag& tags, Task task)
{
    return WriteTag(index, tags, task) && RemoveTagChunks(index);
}

// Writes the tag of one chunk; tags of other chunks are merged into it.
bool TagWriter::WriteTag(int index, const NTag& tags, Task task)
{
    StdReport::WriteDEBUG({L"chunk index: ", int64_t{index}}, m_report);
    const STRIFFChunk& chunk = *m_aiff.GetChunk(index);
    TagID3v2 tag(m_aiff.Handle(), chunk.FileDataPosition);
    tag.SetAlign(2);
    tag.SetOption(ID3v2Option::kEncodeUni);
    bool isLast = true;
    for (int i = 0; i < m_aiff.Count(); ++i) {
        const STRIFFChunk& other = *m_aiff.GetChunk(i);
        if (i != index && IsTagChunk(other))
            tag.AddEarlierTag(other.FileDataPosition, other.nSize);
        isLast = isLast && (i <= index || IsTagChunk(other));
    }
    tag.SetRegion(chunk.nSize, !isLast);
    if (!tag.Write(tags, task == Task::DeleteFields)) {
        StdReport::WriteERROR({L"Error the tag cannot be written, it would be too large."},
                              m_report, kTagWriter);
        return false;
    }
    return FitChunk(index, tag.WrittenSize());
}

// The headers are written in any case: the form's size may have been wrong before.
bool TagWriter::FitChunk(int index, int64_t size)
{
    if (PaddedSize(size) == m_aiff.GetChunk(index)->nSize)
        return m_aiff.WriteChunkHeaders(false);
    return m_aiff.ResizeExistingChunkOnFile(index, static_cast<uint32_t>(size));
}

// Removes all tag chunks but one (-1: all). An odd one is made even first, so that its
// pad byte goes with it.
bool TagWriter::RemoveTagChunks(int keep)
{
    for (int i = m_aiff.Count() - 1; i >= 0; --i) {
        const STRIFFChunk& chunk = *m_aiff.GetChunk(i);
        if (i == keep || !IsTagChunk(chunk))
            continue;
        if (chunk.nSize % 2 != 0 &&
            !m_aiff.ResizeExistingChunkOnFile(i, static_cast<uint32_t>(chunk.nSize)))
            return false;
        if (!m_aiff.RemoveChunkFromFile(i))
            return false;
    }
    return true;
}

bool TagWriter::CarryOut(const FileEdit& edit, const EditTarget& target, const wchar_t* path)
{
    if (m_aiff.GetFormSize() > int64_t{std::numeric_limits<uint32_t>::max()})
        return Fail(path, L"it would exceed 4 GiB, the file is left as it was");
    const STRIFFChunk* last = m_aiff.GetChunk(m_aiff.Count() - 1);
    const int64_t tailStart = last != nullptr && IsTagChunk(*last)
                                  ? last->ChunkPosition
                                  : m_aiff.GetFormSize() + kChunkHeaderSize;
    switch (CommitEdit(edit, target, tailStart)) {
    case CommitResult::Done:
        return true;
    case CommitResult::Unchanged:
        return Fail(path, SystemText(errno) + L", the file is left as it was");
    case CommitResult::Damaged:
        break;
    }
    return Fail(path, SystemText(errno) + L", and the file could not be put back");
}

bool TagWriter::Fail(const wchar_t* path, const XStr& reason) const
{
    StdReport::WriteERROR({L"Error writing file '", path, L"': ", reason}, m_report, kTagWriter);
    return false;
}
