// SPDX-License-Identifier: MIT
#include "aiff/AIFFHandler.h"

#include "support/text/Ascii.h"

namespace aiff
{

const STRIFFChunk* clAIFFHandler::GetChunk(int index) const
{
    return index >= 0 && index < Count() ? &m_chunks[static_cast<size_t>(index)] : nullptr;
}

int clAIFFHandler::FindIndex(const char* text, bool fold) const
{
    for (int index = 0; index < Count(); ++index)
        if (CompareID(m_chunks[static_cast<size_t>(index)].ID, text, fold))
            return index;
    return -1;
}

int clAIFFHandler::IndexOfChunk(const char* text) const
{
    return FindIndex(text, true);
}

const STRIFFChunk* clAIFFHandler::FindChunkForRead(const char* text, bool fold) const
{
    return GetChunk(FindIndex(text, fold));
}

// Folding is all or nothing: "ID3 " matches "ID3 " and "id3 ", but not "Id3 ".
bool clAIFFHandler::CompareID(uint32_t code, const char* text, bool fold)
{
    if (!fold)
        return code == FourCC(text);
    char upper[5] = {};
    char lower[5] = {};
    for (int i = 0; i < 4; ++i) {
        upper[i] = UpperAscii(text[i]);
        lower[i] = LowerAscii(text[i]);
    }
    return code == FourCC(upper) || code == FourCC(lower);
}

XStr clAIFFHandler::RIFFChnkID2CHR(uint32_t code)
{
    XStr text;
    StdReport::Piece::Code(code).AppendTo(text);
    return text;
}

void clAIFFHandler::DefaultCreate()
{
    m_formCode = FourCC(kChunkForm);
    m_formType = FourCC(kFormTypeAIFF);
    CalcAllChunks();
}

void clAIFFHandler::Destroy()
{
    m_formCode = FourCC(kChunkForm);
    m_formType = FourCC(kFormTypeAIFF);
    m_formSize = 0;
    std::vector<STRIFFChunk>().swap(m_chunks);
    m_data.clear();
    Close();
    m_report = {};
}

void clAIFFHandler::CalcAllChunks(int first)
{
    StdReport::WriteDEBUG(L"clAIFFHandler::CalcAllChunks: ", m_report, nullptr, false);
    const auto endOf = [](const STRIFFChunk& chunk) {
        return chunk.ChunkPosition + kChunkHeaderSize + PaddedSize(chunk.nSize);
    };
    for (int i = first; i < Count(); ++i) {
        STRIFFChunk& chunk = m_chunks[static_cast<size_t>(i)];
        chunk.ChunkPosition = i == 0 ? kFormHeaderSize : endOf(*GetChunk(i - 1));
        chunk.FileDataPosition = chunk.ChunkPosition + kChunkHeaderSize;
    }
    const int64_t end = m_chunks.empty() ? kFormHeaderSize : endOf(m_chunks.back());
    m_formSize = end - kChunkHeaderSize;
    StdReport::WriteDEBUG(L"Ok", m_report);
}

} // namespace aiff
