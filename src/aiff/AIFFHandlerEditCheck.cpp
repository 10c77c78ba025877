// SPDX-License-Identifier: MIT

// Deciding whether a file can be edited without losing anything. An edit derives the
// headers and the file's length from the index: whatever the index does not cover would
// be truncated.

#include "aiff/AIFFHandler.h"
#include "aiff/Filler.h"
#include "aiff/HeaderReader.h"

#include <algorithm>
#include <array>

namespace aiff
{

namespace
{

constexpr const char* kPrepareForEdit = "PrepareForEdit";

bool IsPrintable(uint32_t code)
{
    for (int i = 0; i < 4; ++i, code >>= 8)
        if ((code & 0xFF) < 0x20 || (code & 0xFF) > 0x7E)
            return false;
    return true;
}

// Parses the header of the next chunk of a file that consists of nothing but whole chunks
// with printable codes. The last chunk may lack its pad byte.
bool ParseWholeChunk(std::span<const uint8_t> header, int64_t position, int64_t fileSize,
                     STRIFFChunk& chunk)
{
    if (std::ssize(header) < kChunkHeaderSize)
        return false;
    chunk.ID = ReadCode(header.data());
    chunk.nSize = clAIFFHandler::SizeToInt64(&header[4]);
    chunk.ChunkPosition = position;
    chunk.FileDataPosition = position + kChunkHeaderSize;
    return IsPrintable(chunk.ID) && chunk.FileDataPosition + chunk.nSize <= fileSize;
}

} // namespace

bool clAIFFHandler::Refuse(const wchar_t* reason) const
{
    StdReport::WriteERROR({L"Error the file is left as it is: ", reason}, m_report,
                          kPrepareForEdit);
    return false;
}

// Replaces the index of a file whose chunks fill it from the form's header to the very end.
// False, with the index unchanged, for any other file and for one that could not be read
// that far, which is then noted in the findings.
bool clAIFFHandler::IndexWholeFile()
{
    const int64_t fileSize = m_findings.fileSize;
    HeaderReader reader(*this, fileSize);
    std::vector<STRIFFChunk> chunks;
    int64_t position = kFormHeaderSize;
    while (position < fileSize) {
        const auto header = reader.At(position, kChunkHeaderSize);
        m_findings.endedEarly =
            std::ssize(header) < std::min(kChunkHeaderSize, fileSize - position) ||
            std::ssize(chunks) == kMostChunks;
        STRIFFChunk& chunk = chunks.emplace_back();
        if (m_findings.endedEarly || !ParseWholeChunk(header, position, fileSize, chunk))
            return false;
        position = chunk.FileDataPosition + PaddedSize(chunk.nSize);
    }
    m_chunks.swap(chunks);
    m_findings.cutToForm = false;
    m_findings.cutToFile = false;
    CalcAllChunks();
    return true;
}

bool clAIFFHandler::HasSoundData() const
{
    return std::ranges::any_of(m_chunks, [](const STRIFFChunk& chunk) {
        return CompareID(chunk.ID, kChunkSound, true) && chunk.nSize > kSoundPrefixSize;
    });
}

bool clAIFFHandler::HasSoundFrom(int64_t position) const
{
    return std::ranges::any_of(m_chunks, [&](const STRIFFChunk& chunk) {
        return chunk.ChunkPosition >= position && CompareID(chunk.ID, kChunkSound, true);
    });
}

bool clAIFFHandler::IsLeftFiller(int index) const
{
    const STRIFFChunk& chunk = m_chunks[static_cast<size_t>(index)];
    std::array<uint8_t, kFillerMark.size()> bytes;
    const auto isMarkedAt = [&](int64_t position) {
        return ReadAt(position, bytes) == bytes.size() && IsFillerMark(bytes);
    };
    return chunk.ID == FourCC(kChunkFiller) && chunk.nSize >= std::ssize(bytes) &&
           (isMarkedAt(chunk.FileDataPosition) ||
            isMarkedAt(chunk.FileDataPosition + chunk.nSize - std::ssize(bytes)));
}

bool clAIFFHandler::HoldsUnfinishedEdit() const
{
    std::array<uint8_t, kFillerHeadSize> head;
    const size_t count = ReadAt(GetFormEnd(), head);
    if (count >= kAppendMark.size() &&
        std::ranges::equal(std::span(head).first<kChunkHeaderSize>(), kAppendMark))
        return true;
    return count == head.size() && ReadCode(head.data()) == FourCC(kChunkFiller) &&
           IsFillerMark(std::span(head).subspan(kChunkHeaderSize));
}

// When the index has no sound data, the sound may lie after the last chunk (an unfinished
// recording) or in a chunk whose size is wrong.
bool clAIFFHandler::MayHideSound() const
{
    if (HasSoundData())
        return false;
    const STRIFFChunk* common = FindChunkForRead(kChunkCommon, true);
    const bool wasCut = m_findings.cutToForm || m_findings.cutToFile;
    const int64_t covered = wasCut ? m_chunks.back().FileDataPosition : GetFormEnd();
    return m_findings.fileSize - covered > kMostWithoutSound ||
           (common != nullptr && common->nSize > kMostWithoutSound);
}

// A last chunk that claims more than the file holds is reduced to what is there.
bool clAIFFHandler::CorrectLastChunk()
{
    if (m_chunks.empty() || !(m_findings.cutToForm || m_findings.cutToFile))
        return true;
    STRIFFChunk& last = m_chunks.back();
    if (!IsPrintable(last.ID))
        return Refuse(L"its chunks cannot be followed, a pad byte may be missing.");
    const int64_t present = m_findings.fileSize - last.FileDataPosition;
    if (present < 0)
        return Refuse(L"it changed while it was read.");
    StdReport::WriteINFO({L"The size of the last chunk '", StdReport::Piece::Code(last.ID),
                          L"' is corrected to what the file holds: ", present},
                         m_report, kPrepareForEdit);
    last.nSize = present;
    last.bWrite = true;
    CalcAllChunks();
    return true;
}

bool clAIFFHandler::CheckComplete() const
{
    return !m_findings.endedEarly || Refuse(L"not all of its chunks could be read.");
}

bool clAIFFHandler::PrepareForEdit()
{
    const bool holdsMore = m_findings.fileSize > GetFormEnd();
    const bool wasCut = m_findings.cutToForm || m_findings.cutToFile;
    const bool isWhole = !m_findings.endedEarly && (holdsMore || wasCut) &&
                         !HoldsUnfinishedEdit() && IndexWholeFile();
    if (!CheckComplete())
        return false;
    if (Count() >= kMostChunks)
        return Refuse(L"it has too many chunks.");
    if (isWhole)
        StdReport::WriteINFO(
            {L"The size of the form is corrected from ", m_findings.formSize, L" to ", m_formSize},
            m_report, kPrepareForEdit);
    else if (m_findings.cutToForm && holdsMore)
        return Refuse(L"it holds more than its header says, it may be unfinished.");
    if (MayHideSound())
        return Refuse(L"no sound data was found in it, although it holds more data.");
    return CorrectLastChunk();
}

} // namespace aiff
