// SPDX-License-Identifier: MIT

// Writing a new file.

#include "aiff/AIFFHandler.h"
#include "aiff/PassChunks.h"
#include "support/XAudioWFX.h"

#include <algorithm>
#include <array>

namespace aiff
{

using StdReport::Operation;

namespace
{
constexpr const char* kInitializeNew = "InitializeNewAIFF";
constexpr const char* kWriteSound = "WriteSTSoundData";
} // namespace

bool clAIFFHandler::InitializeNewAIFF(XFileHandle file, const STQvWaveFormat& format,
                                      const STNStdReport& report, const clPassAIFFChunks& pass)
{
    m_report = report;
    const Operation operation(m_report, kInitializeNew);
    m_chunks.clear();
    m_data.clear();
    DefaultCreate();
    (void)Open(std::move(file)); // a file that is not open fails at the first write
    LayOutChunks(pass);
    if (!UpdateCOMMChunkData(FindChunk(kChunkCommon), format, 0) || !WriteChunkHeaders(true) ||
        !WriteChunksBeforeSound())
        return false;
    return operation.Succeed();
}

// Lists the chunks to pass through. COMM and SSND keep their places among them, but not
// their data; when missing, COMM goes before the sound and SSND at the end.
void clAIFFHandler::LayOutChunks(const clPassAIFFChunks& pass)
{
    for (int i = 0; i < pass.Count(); ++i) {
        const STPassAIFFChunks& chunk = pass[i];
        char code[5] = {};
        for (int c = 0; c < 4; ++c)
            code[c] = static_cast<char>(chunk.code >> 8 * c);
        if (CompareID(chunk.code, kChunkCommon, true))
            AddChunk(code, kLeastCommonSize, nullptr, -1);
        else if (CompareID(chunk.code, kChunkSound, true))
            AddChunk(code, 0, nullptr, -1);
        else
            AddChunk(code, static_cast<uint32_t>(chunk.data.Used()), chunk.data.Data(), -1);
    }
    if (FindChunkForRead(kChunkCommon, false) == nullptr)
        AddChunk(kChunkCommon, kLeastCommonSize, nullptr, IndexOfDataChunk());
    if (FindChunkForRead(kChunkSound, false) == nullptr)
        AddChunk(kChunkSound, 0, nullptr, -1);
}

// The data of an entry in memory, empty at first.
XMem& clAIFFHandler::DataFor(STRIFFChunk& chunk)
{
    if (chunk.nData == 0) {
        m_data.emplace_back();
        chunk.nData = m_data.size() & 0x7FFFFFFF;
    }
    return m_data[chunk.nData - 1];
}

// Does nothing for a chunk without data in memory, or with data of another size.
bool clAIFFHandler::WriteHeldData(const STRIFFChunk& chunk)
{
    if (chunk.nData == 0)
        return true;
    const XMem& data = m_data[chunk.nData - 1];
    return static_cast<int64_t>(data.Used()) != chunk.nSize || WriteChunkData(chunk, data.View());
}

// Leaves the file positioned where the sample data goes.
bool clAIFFHandler::WriteChunksBeforeSound()
{
    for (STRIFFChunk& chunk : m_chunks) {
        if (CompareID(chunk.ID, kChunkSound, true)) {
            chunk.FileDataPosition += kSoundPrefixSize;
            if (SetPosition(chunk.FileDataPosition))
                return true;
            StdReport::WriteERROR({kNoPosition}, m_report, kInitializeNew);
            return false;
        }
        if (!WriteHeldData(chunk))
            return false;
    }
    return true;
}

STRIFFChunk* clAIFFHandler::FindChunk(const char* text)
{
    const int index = FindIndex(text, false);
    return index < 0 ? nullptr : &m_chunks[static_cast<size_t>(index)];
}

STRIFFChunk* clAIFFHandler::FindChunkForWrite(const char* text, bool fold)
{
    const int index = FindIndex(text, fold);
    if (index < 0)
        return nullptr;
    SetChunksToWrite(index);
    return &m_chunks[static_cast<size_t>(index)];
}

bool clAIFFHandler::UpdateCOMMChunkData(STRIFFChunk* chunk, const STQvWaveFormat& format,
                                        int64_t soundBytes)
{
    if (chunk == nullptr)
        return false;
    std::array<uint8_t, kLeastCommonSize> body;
    const int64_t blockAlign = std::max<int64_t>(format.nBlockAlign, 1);
    IntToSize(static_cast<int16_t>(format.nChannels), &body[0]);
    Int64ToSize(soundBytes / blockAlign, &body[2]);
    IntToSize(static_cast<int16_t>(format.nBitsPerSample), &body[6]);
    ConvertToIeeeExtended(format.nSamplesPerSec, &body[8]);
    return DataFor(*chunk).Assign(body);
}

bool clAIFFHandler::WriteCOMMChunkData(const STQvWaveFormat& format, int64_t soundBytes)
{
    STRIFFChunk* chunk = FindChunk(kChunkCommon);
    return UpdateCOMMChunkData(chunk, format, soundBytes) &&
           WriteChunkData(*chunk, DataFor(*chunk).View());
}

int clAIFFHandler::WriteSTSoundData()
{
    StdReport::WriteDEBUG(L"Writing STSoundData ", m_report);
    if (!SetPosition(Size())) {
        StdReport::WriteERROR({kNoPosition}, m_report, kWriteSound);
        return 0;
    }
    const std::array<uint8_t, kSoundPrefixSize> prefix = {};
    if (!Write(prefix)) {
        StdReport::WriteERROR({kDiskFull}, m_report, kWriteSound);
        return 0;
    }
    return kSoundPrefixSize;
}

bool clAIFFHandler::WriteChunksAfterData()
{
    const int sound = IndexOfDataChunk();
    return std::all_of(m_chunks.begin() + (sound < 0 ? Count() : sound + 1), m_chunks.end(),
                       [this](const STRIFFChunk& chunk) { return WriteHeldData(chunk); });
}

} // namespace aiff
