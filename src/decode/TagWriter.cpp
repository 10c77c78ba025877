// SPDX-License-Identifier: MIT
#include "decode/TagWriter.h"

#include "aiff/CommitEdit.h"
#include "tags/TagFields.h"

#include <limits>

namespace aiff
{

using StdReport::Operation;

namespace
{

constexpr const char* kTagWriter = "IDTagWriter";

bool IsTagChunk(const STRIFFChunk& chunk)
{
    return clAIFFHandler::CompareID(chunk.ID, kChunkID3, true);
}

} // namespace

void InternalReadTags(const clAIFFHandler& aiff, TagItems* items, int& index,
                      const STNStdReport& report)
{
    const Operation operation(report, "InternalReadTags");
    index = -1;
    for (int i = 0; i < aiff.Count(); ++i) {
        const STRIFFChunk& chunk = *aiff.GetChunk(i);
        if (!IsTagChunk(chunk) || chunk.nSize == 0)
            continue;
        index = i;
        if (items == nullptr)
            continue;
        TagID3v2 tag(aiff.Handle(), chunk.FileDataPosition);
        tag.SetRegion(chunk.nSize, TagID3v2::RegionUse::Shrink);
        static_cast<void>(tag.Read(*items)); // a damaged tag shows nothing
    }
    operation.Leave();
}

bool TagWriter::Run(const wchar_t* path, NTag&& tags, Task task)
{
    const Operation operation(m_report, kTagWriter);
    StdReport::WriteDEBUG({L"Opening file '", path, L"' for write access: "}, m_report, nullptr,
                          false);
    EditTarget target;
    if (path == nullptr || target.Open(path)) {
        StdReport::WriteERROR(
            {L"Error opening file '", path, L"' check no other program has it open."}, m_report,
            kTagWriter);
        return false;
    }
    StdReport::WriteDEBUG(L"Opened", m_report);
    const auto edit = std::make_shared<FileEdit>(target.File());
    if (!m_aiff.Initialize(edit, m_report) || edit->BaseSize() == 0)
        // A file that is empty or not an AIFF file is left alone.
        return edit->BaseSize() >= 0 && m_aiff.CheckComplete() && operation.Succeed();
    bool changes = false;
    if (!PlanEdit(std::move(tags), task, changes))
        return false;
    if (changes && !Commit(*edit, target, path))
        return false;
    return operation.Succeed();
}

// Works out the edit in memory. `changes` stays false when there is nothing to do.
bool TagWriter::PlanEdit(NTag&& tags, Task task, bool& changes)
{
    int index = -1;
    InternalReadTags(m_aiff, nullptr, index, m_report);
    if (index < 0 && task != Task::Write)
        return m_aiff.CheckComplete();
    changes = true;
    if (!m_aiff.PrepareForEdit() || MayReplaceSound() || !RemoveLeftFillers())
        return false;
    if (task == Task::DeleteAll)
        return RemoveTagChunks(-1);
    index = LastTagChunk();
    return index < 0 ? AddTagChunk(std::move(tags)) : UpdateTagChunk(index, std::move(tags), task);
}

// Refuses a file without sound data that has a tag chunk with much data after its tag: the
// chunk's size may be wrong and include the sound.
bool TagWriter::MayReplaceSound() const
{
    if (m_aiff.HasSoundData())
        return false;
    for (int i = 0; i < m_aiff.Count(); ++i) {
        const STRIFFChunk& chunk = *m_aiff.GetChunk(i);
        if (!IsTagChunk(chunk) || chunk.nSize <= kMostWithoutSound)
            continue;
        const TagID3v2 tag(m_aiff.Handle(), chunk.FileDataPosition);
        if (chunk.nSize - tag.GetID3v2TagSize() <= kMostWithoutSound)
            continue;
        StdReport::WriteERROR({L"Error the file is left as it is: no sound data was found in it, "
                               L"although its tag chunk holds more than a tag."},
                              m_report, kTagWriter);
        return true;
    }
    return false;
}

// The tag chunk to write the tag into: the last one that is not empty, else the last one;
// -1 when there is none.
int TagWriter::LastTagChunk() const
{
    int index = -1;
    for (int i = 0; i < m_aiff.Count(); ++i)
        if (IsTagChunk(*m_aiff.GetChunk(i)) &&
            (index < 0 || m_aiff.GetChunk(i)->nSize != 0 || m_aiff.GetChunk(index)->nSize == 0))
            index = i;
    return index;
}

// A new chunk goes after the last one and its pad byte, whether the file has that byte or
// not, and overwrites stray bytes.
bool TagWriter::AddTagChunk(NTag&& tags)
{
    if (!m_aiff.SetPosition(m_aiff.GetFormEnd()) ||
        !m_aiff.AddNewChunkToFile(kChunkID3, kTagHeaderSize))
        return false;
    int index = -1;
    InternalReadTags(m_aiff, nullptr, index, m_report);
    StdReport::WriteDEBUG({L"chunk index: ", int64_t{index}}, m_report);
    return WriteTag(index, std::move(tags), Task::Write);
}

bool TagWriter::UpdateTagChunk(int index, NTag&& tags, Task task)
{
    return WriteTag(index, std::move(tags), task) && RemoveTagChunks(index);
}

// Writes the tag of one chunk and merges the tags of the other chunks into it.
bool TagWriter::WriteTag(int index, NTag&& tags, Task task)
{
    const STRIFFChunk& chunk = *m_aiff.GetChunk(index);
    TagID3v2 tag(m_aiff.Handle(), chunk.FileDataPosition);
    tag.SetAlign(2);
    tag.SetOption(ID3v2Option::kEncodeUni);
    for (const std::span<const uint8_t> foreign : m_foreign)
        tag.AddForeignTag(foreign);
    if (m_maker)
        tag.SetMaker(m_maker);
    bool isLast = true;
    for (int i = 0; i < m_aiff.Count(); ++i) {
        const STRIFFChunk& other = *m_aiff.GetChunk(i);
        if (i != index && IsTagChunk(other))
            tag.AddEarlierTag(other.FileDataPosition, other.nSize);
        isLast = isLast && (i <= index || IsTagChunk(other));
    }
    using enum TagID3v2::RegionUse;
    tag.SetRegion(chunk.nSize, isLast ? Shrink : Fill);
    if (!tag.Write(tags, task == Task::DeleteFields)) {
        StdReport::WriteERROR({L"Error the file is left as it is: ", tag.Obstacle()}, m_report,
                              kTagWriter);
        return false;
    }
    if (!tag.LeftOut().empty())
        StdReport::WriteINFO({L"Frames that the new tag cannot hold are left out: ", tag.LeftOut()},
                             m_report, kTagWriter);
    return FitChunk(index, tag.WrittenSize());
}

// The headers are written in any case: the form's size may have been wrong.
bool TagWriter::FitChunk(int index, int64_t size)
{
    if (PaddedSize(size) == m_aiff.GetChunk(index)->nSize)
        return m_aiff.WriteChunkHeaders(false);
    return m_aiff.ResizeExistingChunkOnFile(index, static_cast<uint32_t>(size));
}

// What edits in place that were cut short have left goes with this one.
bool TagWriter::RemoveLeftFillers()
{
    std::vector<int> indexes;
    for (int i = 0; i < m_aiff.Count(); ++i)
        if (m_aiff.IsLeftFiller(i))
            indexes.push_back(i);
    return indexes.empty() || m_aiff.RemoveChunksFromFile(indexes);
}

// Removes all tag chunks but one (-1: all).
bool TagWriter::RemoveTagChunks(int keep)
{
    std::vector<int> indexes;
    for (int i = 0; i < m_aiff.Count(); ++i)
        if (i != keep && IsTagChunk(*m_aiff.GetChunk(i)))
            indexes.push_back(i);
    if (indexes.size() > 1)
        return m_aiff.RemoveChunksFromFile(indexes);
    return indexes.empty() || RemoveTagChunk(indexes.front());
}

// A chunk of odd size is made even first, so that its pad byte is removed with it.
bool TagWriter::RemoveTagChunk(int index)
{
    const int64_t size = m_aiff.GetChunk(index)->nSize;
    return (size % 2 == 0 ||
            m_aiff.ResizeExistingChunkOnFile(index, static_cast<uint32_t>(size))) &&
           m_aiff.RemoveChunkFromFile(index);
}

bool TagWriter::Commit(FileEdit& edit, EditTarget& target, const wchar_t* path)
{
    if (m_aiff.GetFormSize() > int64_t{std::numeric_limits<uint32_t>::max()})
        return Fail(path, L"it would exceed 4 GiB, the file is left as it was");
    const EditResult result = CommitEdit(edit, target, m_aiff, m_durability);
    switch (result.file) {
    case EditResult::File::Changed:
        if (const int64_t names = target.NamesOfReplacedFile(); names > 0)
            StdReport::WriteINFO({L"The file was replaced by a changed copy. Its other names (hard "
                                  L"links: ",
                                  names, L") keep the old content."},
                                 m_report, kTagWriter);
        return true;
    case EditResult::File::Untidy:
        StdReport::WriteINFO({L"The new tags are in '", path,
                              L"', but also bytes that the next edit removes: ",
                              SystemText(result.error.value())},
                             m_report, kTagWriter);
        return true;
    case EditResult::File::AsBefore:
        return Fail(path, SystemText(result.error.value()) + L", the file is left as it was");
    case EditResult::File::Unrestored:
        return Fail(path,
                    SystemText(result.error.value()) + L", and the file could not be put back");
    case EditResult::File::Overtaken:
        break;
    }
    return Fail(path, L"it was changed by another program while it was edited");
}

bool TagWriter::Fail(const wchar_t* path, const XStr& reason) const
{
    StdReport::WriteERROR({L"Error writing file '", path, L"': ", reason}, m_report, kTagWriter);
    return false;
}

} // namespace aiff
