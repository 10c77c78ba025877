// SPDX-License-Identifier: MIT
#include "host/author/check/FileCheck.h"

#include "aiff/AIFFHandler.h"
#include "aiff/HeaderReader.h"
#include "host/author/OpenSource.h"
#include "host/author/check/SoundCheck.h"
#include "host/author/tags/AiffForm.h"
#include "host/author/tags/TagCheck.h"
#include "host/author/tags/UpdateTag.h"
#include "host/base/Printable.h"
#include "support/file/DiskFile.h"
#include "tags/NTag.h"

#include <optional>

namespace aiff::host
{
namespace
{

using enum IrregularityKind;

// Nobody reads more than this.
constexpr size_t kMostFindings = 100;

struct ChunkHeader {
    uint32_t code = 0;
    int64_t nSize = 0;
};

std::string Number(int64_t value)
{
    return std::to_string(value);
}

// Of a tag that cannot be read; empty where there is none of the size that is claimed.
IrregularityKind KindOfProblem(const std::vector<uint8_t>& tag)
{
    std::vector<uint8_t> updated;
    if (tag.empty())
        return MisfitTag;
    return UpdateTag(tag, NTag(), updated) ? RefusedFrame : UnreadableTag;
}

class FormCheck
{
public:
    FormCheck(XFile& file, FileFindings& findings, FileMap& map)
        : m_file(file), m_headers(file, file.Size()), m_findings(findings), m_map(map),
          m_fileSize(file.Size())
    {
    }

    void Run()
    {
        if (!CheckForm())
            return;
        while (m_position < m_end && CheckChunk()) {
        }
        if (m_chunk)
            m_map.Add(std::move(*m_chunk));
        AddRest();
        if (m_tags > 1)
            Say(SeveralTags,
                "has " + Number(m_tags) + " tag chunks; most readers show only one of them");
        m_sound.Finish(m_isCompressedForm, Sayer());
    }

private:
    void Say(IrregularityKind kind, const std::string& text)
    {
        if (m_findings.irregular.size() < kMostFindings)
            m_findings.irregular.push_back({kind, text});
        else if (m_findings.irregular.size() == kMostFindings)
            m_findings.irregular.push_back(
                {MoreThanListed, "has more irregularities, which are left out here"});
    }
    SoundCheck::Say Sayer()
    {
        return [this](IrregularityKind kind, const std::string& text) { Say(kind, text); };
    }

    bool CheckForm();
    bool CheckChunk();
    bool ReadHeader(int64_t position, ChunkHeader& chunk);
    bool FindHeader(ChunkHeader& chunk);
    void CheckPad(uint32_t code, int64_t position);
    void MapChunk(const ChunkHeader& chunk, int64_t held);
    void AddRest();
    void CheckTag(const std::string& name, int64_t position, int64_t size);

    XFile& m_file;
    HeaderReader m_headers;
    FileFindings& m_findings;
    FileMap& m_map;
    std::optional<FilePiece> m_chunk; // the last one, whose pad byte the next one decides
    SoundCheck m_sound;
    int64_t m_fileSize;
    int64_t m_position = kFormHeaderSize;
    int64_t m_end = 0; // of the form, or of the file when that is shorter
    int64_t m_tags = 0;
    bool m_isCompressedForm = false;
    bool m_afterOddChunk = false;
    std::string m_previous; // name of the chunk before
};

bool FormCheck::CheckForm()
{
    const auto header = m_headers.At(0, kFormHeaderSize);
    if (std::ssize(header) < kFormHeaderSize) {
        m_findings.problem = "is too short to be an AIFF file";
        return false;
    }
    const uint32_t code = CodeAt(&header[0]);
    const uint32_t type = CodeAt(&header[8]);
    if (!clAIFFHandler::CompareID(code, kChunkForm, true)) {
        m_findings.problem = "is not an AIFF file (it does not begin with 'FORM')";
        return false;
    }
    m_isCompressedForm = type == FourCC(kFormTypeAIFC);
    if (type != FourCC(kFormTypeAIFF) && !m_isCompressedForm)
        Say(UnknownFormType, "is a form of type " + CodeText(type) + ", neither 'AIFF' nor 'AIFC'");
    if (code != FourCC(kChunkForm))
        Say(FormInLowerCase, "begins with " + CodeText(code) + " instead of 'FORM'");
    const int64_t size = clAIFFHandler::SizeToInt64(&header[4]);
    const int64_t formEnd = size + kChunkHeaderSize;
    if (size % 2 != 0)
        Say(OddFormSize, "has a form of odd size (" + Counted(size, "byte") + ")");
    if (formEnd > m_fileSize)
        Say(CutOff,
            "is cut off: its form lacks " + Counted(formEnd - m_fileSize, "byte") + " at the end");
    m_end = std::min(formEnd, m_fileSize);
    if (formEnd < kFormHeaderSize || (formEnd == kFormHeaderSize && m_fileSize > formEnd)) {
        Say(NeverFinished, "was never finished: its form says that it is empty");
        m_end = m_fileSize;
    } else if (formEnd < m_fileSize) {
        const TrailingBytes trailing = ReadTrailingBytes(m_file, formEnd);
        Say(AfterForm, "has " + Counted(trailing.count, "byte") + " after the end of its form (" +
                           trailing.Looks() + ")");
    }
    m_map.Add({0, kFormHeaderSize, CodeText(code).substr(1, sizeof code), size, false,
               std::max<int64_t>(formEnd - m_fileSize, 0), "the form, of type " + CodeText(type)});
    return true;
}

bool FormCheck::ReadHeader(int64_t position, ChunkHeader& chunk)
{
    const auto bytes = m_headers.At(position, kChunkHeaderSize);
    if (std::ssize(bytes) < kChunkHeaderSize || position + kChunkHeaderSize > m_end)
        return false;
    chunk.code = CodeAt(&bytes[0]);
    chunk.nSize = clAIFFHandler::SizeToInt64(&bytes[4]);
    return true;
}

// Finds the header at the position, or one byte before it where a pad byte was left out.
bool FormCheck::FindHeader(ChunkHeader& chunk)
{
    const bool found = ReadHeader(m_position, chunk);
    if (found && IsTextCode(chunk.code))
        return true;
    ChunkHeader earlier;
    if (m_afterOddChunk && ReadHeader(m_position - 1, earlier) && IsTextCode(earlier.code) &&
        earlier.nSize <= m_end - m_position + 1 - kChunkHeaderSize) {
        Say(MissingPad,
            "lacks the pad byte after the chunk " + m_previous + ", which has an odd size");
        --m_position;
        --m_chunk->size;
        m_chunk->isPadded = false;
        chunk = earlier;
        return true;
    }
    if (found)
        Say(NoChunk, "has no chunk where one is due, at byte " + Number(m_position));
    else
        Say(StrayBytes, "has " + Counted(m_end - m_position, "stray byte") +
                            " at its end, too few for a chunk");
    return false;
}

bool FormCheck::CheckChunk()
{
    ChunkHeader chunk;
    if (!FindHeader(chunk))
        return false;
    const std::string name = ChunkName(chunk.code, m_position);
    const int64_t start = m_position + kChunkHeaderSize;
    const int64_t left = m_end - start;
    const int64_t size = std::min(chunk.nSize, left);
    if (chunk.nSize > left)
        Say(ChunkTooLarge, "has a chunk " + name + " that claims " + Counted(chunk.nSize, "byte") +
                               " where " + Number(left) + (left == 1 ? " is left" : " are left"));
    if (clAIFFHandler::CompareID(chunk.code, kChunkID3, true))
        CheckTag(name, start, size);
    else
        m_sound.Take(chunk.code, m_file, start, size, Sayer());
    MapChunk(chunk, size);
    m_previous = name;
    m_afterOddChunk = size % 2 != 0;
    m_position = start + PaddedSize(size);
    if (m_afterOddChunk)
        CheckPad(chunk.code, start + size);
    return chunk.nSize <= left;
}

void FormCheck::MapChunk(const ChunkHeader& chunk, int64_t held)
{
    if (m_chunk)
        m_map.Add(std::move(*m_chunk));
    const std::string code = CodeText(chunk.code).substr(1, sizeof chunk.code);
    const int64_t end = m_position + kChunkHeaderSize + held;
    const bool isPadded = held % 2 != 0 && end < m_end;
    m_chunk = {m_position,
               end + (isPadded ? 1 : 0) - m_position,
               code,
               chunk.nSize,
               isPadded,
               chunk.nSize - held,
               ChunkPurpose(code)};
}

// What lies after the last chunk, in the form and after it.
void FormCheck::AddRest()
{
    if (m_position < m_end)
        m_map.Add({m_position, m_end - m_position, {}, 0, false, 0, "no chunk, but in the form"});
    if (m_end < m_fileSize)
        m_map.Add({m_end,
                   m_fileSize - m_end,
                   {},
                   0,
                   false,
                   0,
                   "after the form: " + ReadTrailingBytes(m_file, m_end).Looks()});
}

void FormCheck::CheckPad(uint32_t code, int64_t position)
{
    if (position >= m_end) {
        Say(NoLastPad, "ends without the pad byte of its last chunk " + CodeText(code));
        return;
    }
    ChunkHeader next;
    const auto begins = [&](int64_t at) { return ReadHeader(at, next) && IsTextCode(next.code); };
    const bool missing = !begins(m_position) && begins(position);
    const auto pad = m_headers.At(position, 1);
    if (!missing && !pad.empty() && pad[0] != 0)
        Say(PadNotZero, "has a pad byte that is not zero, after the chunk " + m_previous);
}

void FormCheck::CheckTag(const std::string& name, int64_t position, int64_t size)
{
    ++m_tags;
    if (size == 0) {
        Say(EmptyTagChunk, "has an empty tag chunk " + name);
        return;
    }
    std::vector<uint8_t> tag;
    NTag list;
    if (const Problem problem = ReadChunkTag(m_file, position, size, name, tag, list))
        Say(KindOfProblem(tag), problem.Text());
}

// Whether tags can be changed: an edit refuses a file whose chunks it cannot follow.
bool CanBeEdited(const std::string& path)
{
    std::error_code error;
    clAIFFHandler aiff;
    return aiff.Initialize(DiskFile::Open(path, DiskFile::Access::Read, error), {}) &&
           aiff.PrepareForEdit() && aiff.HasSoundData();
}

void FindMending(const std::string& path, std::vector<Irregularity>& irregular)
{
    if (irregular.empty())
        return;
    const bool canEdit = CanBeEdited(path);
    const bool canEncode = static_cast<bool>(OpenSource(path));
    for (Irregularity& found : irregular) {
        const IrregularityRule& rule = RuleOf(found.kind);
        found.mending = rule.isMendedByTagEdit && canEdit    ? Mending::TagEdit
                        : rule.isMendedByEncode && canEncode ? Mending::Encode
                                                             : Mending::None;
    }
}

FileFindings Walk(const std::string& path, FileMap& map)
{
    FileFindings findings;
    XFile file;
    std::error_code error;
    if (!file.Open(DiskFile::Open(path, DiskFile::Access::Read, error)))
        findings.problem = error.message();
    else
        FormCheck(file, findings, map).Run();
    return findings;
}

} // namespace

FileFindings CheckFile(const std::string& path)
{
    FileMap map;
    FileFindings findings = Walk(path, map);
    FindMending(path, findings.irregular);
    return findings;
}

FileMap MapFile(const std::string& path)
{
    FileMap map;
    (void)Walk(path, map);
    return map;
}

} // namespace aiff::host
