// SPDX-License-Identifier: MIT
#include "aiff/FormWalk.h"

#include "aiff/AIFFHandler.h"

#include <algorithm>

namespace aiff
{

using StdReport::Piece;

namespace
{

int64_t SubtractClamped(int64_t budget, int64_t bytes)
{
    return budget < bytes ? 0 : budget - bytes;
}

} // namespace

bool FormWalk::Begin(std::span<const uint8_t> header, int64_t inputSize, FormHeader& form)
{
    if (std::ssize(header) < kFormHeaderSize) {
        StdReport::WriteERROR({L"Error: File too small for AIFF."}, m_report, m_operation);
        return false;
    }
    form.code = ReadCode(&header[0]);
    form.size = clAIFFHandler::SizeToInt64(&header[4]);
    form.type = ReadCode(&header[8]);
    if (!clAIFFHandler::CompareID(form.code, kChunkForm, true)) {
        StdReport::WriteERROR({L"Error first chunk unknown: ", Piece::Code(form.code)}, m_report,
                              m_operation);
        return false;
    }
    StdReport::WriteDEBUG({L"  AIFF Header '", Piece::Code(form.code), L"'   Length: ", form.size,
                           L"  FormType '", Piece::Code(form.type), L"'"},
                          m_report, m_operation);
    if (form.size % 2 != 0)
        StdReport::WriteINFO({L"Warning: AIFF chunk has uneven databytes, is non-compliant AIFF."},
                             m_report, m_operation);
    m_inputLeft = std::max<int64_t>(inputSize - kFormHeaderSize, 0);
    m_formLeft = SubtractClamped(form.size, 4); // the form type
    if (m_inputLeft != m_formLeft)
        StdReport::WriteINFO(
            {L"Warning 'RiffSizeLeft != FileSizeLeft' must be extra data on end of file."},
            m_report, m_operation);
    return true;
}

bool FormWalk::ParseHeader(std::span<const uint8_t> header, int64_t position,
                           const char* mayOverrun, ChunkHeader& chunk)
{
    if (std::ssize(header) < kChunkHeaderSize) {
        if (m_formLeft > kChunkHeaderSize)
            StdReport::WriteERROR({L"File error reading chunk."}, m_report, m_operation);
        return false;
    }
    m_inputLeft = SubtractClamped(m_inputLeft, kChunkHeaderSize);
    m_formLeft = SubtractClamped(m_formLeft, kChunkHeaderSize);
    chunk.code = ReadCode(&header[0]);
    chunk.size = clAIFFHandler::SizeToInt64(&header[4]);
    StdReport::WriteDEBUG({L"  Got Chunk '", Piece::Code(chunk.code), L"'  Length: ", chunk.size,
                           L"  RiffSizeLeft: ", m_formLeft, L"  ChunkPosition: ", position},
                          m_report);
    Clamp(chunk, mayOverrun);
    return true;
}

// The form is checked first: a chunk that overruns both the form and the input is cut to
// the form alone.
void FormWalk::Clamp(ChunkHeader& chunk, const char* mayOverrun)
{
    if (chunk.size <= m_inputLeft && chunk.size <= m_formLeft)
        return;
    if (chunk.size > m_formLeft) {
        StdReport::WriteINFO({L"Warning Chunk is out of AIFF area (but still inside file)."},
                             m_report, m_operation);
        chunk.size = m_formLeft;
        chunk.cutTo = ChunkHeader::CutTo::Form;
    } else {
        if (mayOverrun != nullptr && chunk.code == FourCC(mayOverrun))
            StdReport::WriteINFO({L"Info Chunk is out of file."}, m_report, m_operation);
        else
            StdReport::WriteERROR({L"Error Chunk is out of file."}, m_report, m_operation);
        chunk.size = m_inputLeft;
        chunk.cutTo = ChunkHeader::CutTo::Input;
    }
    StdReport::WriteDEBUG({L"Clamped chunk to: ", chunk.size}, m_report);
}

void FormWalk::ChargeData(int64_t paddedSize)
{
    m_inputLeft = SubtractClamped(m_inputLeft, paddedSize);
    m_formLeft = SubtractClamped(m_formLeft, paddedSize);
}

} // namespace aiff
