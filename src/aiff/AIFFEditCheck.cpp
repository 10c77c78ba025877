// Deciding whether a file can be edited without losing anything. An edit writes
// headers and the file's length from the index: what the index does not cover would
// be cut off.

#include "aiff/AIFFHandler.h"
#include "aiff/HeaderReader.h"

namespace
{

constexpr const char* kPrepareForEdit = "PrepareForEdit";

// Bytes behind the last chunk that are no more than rubbish, even where no sound was
// found: a tag of another kind or the rest of a block.
constexpr int64_t kMostStrayWithoutSound = 512;

bool IsPrintable(uint32_t code)
{
    for (int i = 0; i < 4; ++i, code >>= 8)
        if ((code & 0xFF) < 0x20 || (code & 0xFF) > 0x7E)
            return false;
    return true;
}

// Reads the header of the next chunk of a file that is nothing but whole chunks with
// printable codes. The last chunk may lack its pad byte.
bool ReadWholeChunk(HeaderReader& reader, int64_t position, int64_t fileSize, STRIFFChunk& chunk)
{
    const auto header = reader.At(position, kChunkHeaderSize);
    if (std::ssize(header) < kChunkHeaderSize)
        return false;
    chunk.ID = uint32_t{header[0]} | uint32_t{header[1]} << 8 | uint32_t{header[2]} << 16 |
               uint32_t{header[3]} << 24;
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

// Replaces the index by that of a file whose chunks fill it from the form's header to
// the very end; false, with the index unchanged, for any other file.
bool clAIFFHandler::IndexWholeFile()
{
    const int64_t fileSize = m_findings.nFileSize;
    HeaderReader reader(*this, fileSize);
    std::vector<STRIFFChunk> chunks;
    int64_t position = kFormHeaderSize;
    while (position < fileSize) {
        STRIFFChunk& chunk = chunks.emplace_back();
        if (!ReadWholeChunk(reader, position, fileSize, chunk))
            return false;
        position = chunk.FileDataPosition + PaddedSize(chunk.nSize);
    }
    m_chunks.swap(chunks);
    return true;
}

// A last chunk that claims more than the file holds gets the size of what is there.
bool clAIFFHandler::CorrectLastChunk()
{
    if (m_chunks.empty() || !(m_findings.cutToForm || m_findings.cutToFile))
        return true;
    STRIFFChunk& last = m_chunks.back();
    if (!IsPrintable(last.ID))
        return Refuse(L"its chunks cannot be followed, a pad byte may be missing.");
    const int64_t present = m_findings.nFileSize - last.FileDataPosition;
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

bool clAIFFHandler::PrepareForEdit()
{
    if (m_findings.endedEarly)
        return Refuse(L"not all of its chunks could be read.");
    const int64_t fileSize = m_findings.nFileSize;
    const int64_t indexEnd = m_formSize + kChunkHeaderSize;
    const bool hasSound = IndexOfDataChunk() >= 0;
    const bool holdsMore = fileSize > indexEnd;
    const bool wasCut = m_findings.cutToForm || m_findings.cutToFile;
    if ((holdsMore || wasCut) && IndexWholeFile()) {
        CalcAllChunks();
        StdReport::WriteINFO(
            {L"The size of the form is corrected from ", m_findings.nFormSize, L" to ", m_formSize},
            m_report, kPrepareForEdit);
        return true;
    }
    if (m_findings.cutToForm && holdsMore)
        return Refuse(L"it holds more than its header says, it may be unfinished.");
    if (!hasSound && fileSize - indexEnd > kMostStrayWithoutSound)
        return Refuse(L"no sound data was found in it, although it holds more data.");
    return CorrectLastChunk();
}
