// SPDX-License-Identifier: MIT

// Editing the chunks of an existing file.

#include "aiff/AIFFHandler.h"

#include <algorithm>
#include <array>
#include <new>

namespace aiff
{

using StdReport::Operation;
using StdReport::Piece;

namespace
{

constexpr const char* kAddChunk = "AddChunk";
constexpr const char* kAddNewChunk = "AddNewChunkToFile";
constexpr const char* kResize = "ResizeExistingChunkOnFile";
constexpr const char* kRemove = "RemoveChunkFromFile";
constexpr const char* kRemoveSeveral = "RemoveChunksFromFile";
constexpr const char* kWriteHeaders = "WriteChunkHeaders";
constexpr const char* kWriteData = "WriteChunkData";

constexpr const wchar_t* kNoPositionZero = L"Error Setting File Position to 0.";
constexpr const wchar_t* kNoChunkPosition =
    L"Error Setting File Chunk Position, lack of disk space?";

std::array<uint8_t, kChunkHeaderSize> HeaderBytes(const STRIFFChunk& chunk)
{
    std::array<uint8_t, kChunkHeaderSize> header;
    WriteCode(chunk.ID, &header[0]);
    clAIFFHandler::Int64ToSize(chunk.nSize, &header[4]);
    return header;
}

} // namespace

void clAIFFHandler::AddChunk(const char* code, uint32_t size, const void* data, int index)
{
    const Operation operation(m_report, kAddChunk);
    StdReport::WriteDEBUG(
        {L"->-> Adding Chunk '", Piece::Code(FourCC(code)), L"' Length: ", int64_t{size}},
        m_report);
    STRIFFChunk chunk;
    chunk.ID = FourCC(code);
    chunk.nSize = size;
    chunk.bWrite = true;
    if (data != nullptr && size != 0 &&
        !DataFor(chunk).Assign({static_cast<const uint8_t*>(data), size}))
        throw std::bad_alloc();
    const int at = index < 0 || index > Count() ? Count() : index;
    m_chunks.insert(m_chunks.begin() + at, chunk);
    CalcAllChunks(at);
    operation.Leave();
}

void clAIFFHandler::SetChunksToWrite(int first)
{
    for (int i = first; i < Count(); ++i)
        m_chunks[static_cast<size_t>(i)].bWrite = true;
}

bool clAIFFHandler::WriteChunkData(const STRIFFChunk& chunk, std::span<const uint8_t> bytes)
{
    StdReport::WriteDEBUG({L"Writing Chunk Data '", Piece::Code(chunk.ID), L"'  Length: ",
                           chunk.nSize, L"  ChunkPosition: ", chunk.ChunkPosition,
                           L"  ChunkDataPos: ", chunk.FileDataPosition},
                          m_report);
    if (!SetPosition(chunk.FileDataPosition)) {
        StdReport::WriteERROR({kNoPosition}, m_report, kWriteData);
        return false;
    }
    if (!Write(bytes)) {
        StdReport::WriteERROR({kDiskFull}, m_report, kWriteData);
        return false;
    }
    return true;
}

bool clAIFFHandler::WriteHeader(const STRIFFChunk& chunk)
{
    StdReport::WriteDEBUG({L"Writing Chunk Header '", Piece::Code(chunk.ID), L"'  Length: ",
                           chunk.nSize, L"  ChunkPosition: ", chunk.ChunkPosition,
                           L"  ChunkDataPos: ", chunk.FileDataPosition},
                          m_report);
    if (!SetPosition(chunk.ChunkPosition)) {
        StdReport::WriteERROR({kNoChunkPosition}, m_report, kWriteHeaders);
        return false;
    }
    if (!Write(HeaderBytes(chunk))) {
        StdReport::WriteERROR({kDiskFull}, m_report, kWriteHeaders);
        return false;
    }
    return true;
}

// Writes the form's header at the start of the file.
bool clAIFFHandler::WriteFormHeader(int64_t formSize)
{
    std::array<uint8_t, kFormHeaderSize> header;
    WriteCode(m_formCode, &header[0]);
    Int64ToSize(formSize, &header[4]);
    WriteCode(m_formType, &header[8]);
    if (!SetPosition(0)) {
        StdReport::WriteERROR({kNoPositionZero}, m_report, kWriteHeaders);
        return false;
    }
    if (!Write(header)) {
        StdReport::WriteERROR({kDiskFull}, m_report, kWriteHeaders);
        return false;
    }
    return true;
}

bool clAIFFHandler::WriteChunkHeaders(bool onlyToSound)
{
    const Operation operation(m_report, kWriteHeaders);
    CalcAllChunks();
    if (Size() == 0 && !WriteFormHeader(0)) // provisional
        return false;
    for (STRIFFChunk& chunk : m_chunks) {
        if (!chunk.bWrite)
            continue;
        chunk.bWrite = false;
        if (!WriteHeader(chunk))
            return false;
        if (onlyToSound && CompareID(chunk.ID, kChunkSound, false)) {
            StdReport::WriteDEBUG(L"<-<- Exit as only write to SSND chunk", m_report,
                                  kWriteHeaders);
            return true;
        }
    }
    if (!WriteFormHeader(m_formSize))
        return false;
    const int64_t end = m_formSize + kChunkHeaderSize;
    if (Size() != end && !SetSize(end)) {
        StdReport::WriteERROR({kDiskFull}, m_report, kWriteHeaders);
        return false;
    }
    return operation.Succeed();
}

bool clAIFFHandler::AddNewChunkToFile(const char* code, uint32_t size)
{
    const Operation operation(m_report, kAddNewChunk);
    AddChunk(code, size, nullptr, -1);
    const STRIFFChunk& chunk = m_chunks.back();
    if (!Write(HeaderBytes(chunk))) {
        StdReport::WriteERROR({kDiskFull}, m_report, kAddNewChunk);
        return false;
    }
    XMem zeros;
    if (!zeros.SetUsed(size))
        throw std::bad_alloc();
    return WriteChunkData(chunk, zeros.View()) && operation.Succeed();
}

bool clAIFFHandler::ResizeExistingChunkOnFile(int index, uint32_t newSize)
{
    const Operation operation(m_report, kResize);
    if (GetChunk(index) == nullptr)
        return false;
    if (newSize == 0)
        return RemoveChunkFromFile(index);
    // From now on the chunk's size counts the pad byte.
    const int64_t paddedSize = PaddedSize(newSize);
    STRIFFChunk& chunk = m_chunks[static_cast<size_t>(index)];
    bool resized = false;
    if (chunk.nSize != paddedSize) {
        chunk.nSize = paddedSize;
        SetChunksToWrite(index);
        resized = WriteChunkHeaders(false);
    }
    operation.Leave();
    return resized;
}

bool clAIFFHandler::RemoveChunkFromFile(int index)
{
    const Operation operation(m_report, kRemove);
    const STRIFFChunk* chunk = GetChunk(index);
    if (chunk == nullptr)
        return false;
    const int64_t length = chunk->nSize + kChunkHeaderSize;
    if (!Shuffle(chunk->ChunkPosition + length, -length))
        return false;
    SetChunksToWrite(index);
    m_chunks.erase(m_chunks.begin() + index);
    operation.Leave();
    return WriteChunkHeaders(false);
}

bool clAIFFHandler::RemoveChunksFromFile(std::span<const int> indexes)
{
    const Operation operation(m_report, kRemoveSeveral);
    std::vector<FileContent::Range> ranges;
    std::vector<STRIFFChunk> kept;
    for (int i = 0; i < Count(); ++i) {
        STRIFFChunk& chunk = m_chunks[static_cast<size_t>(i)];
        if (indexes.empty() || i != indexes.front()) {
            kept.push_back(chunk);
            continue;
        }
        indexes = indexes.subspan(1);
        const int64_t end = chunk.FileDataPosition + PaddedSize(chunk.nSize);
        ranges.push_back({chunk.ChunkPosition, std::min(end, Size())});
    }
    m_chunks.swap(kept);
    if (!indexes.empty() || !Remove(ranges))
        return false;
    SetChunksToWrite(0);
    operation.Leave();
    return WriteChunkHeaders(false);
}

} // namespace aiff
