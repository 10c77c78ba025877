// SPDX-License-Identifier: MIT

// Indexing the chunks of a file.

#include "aiff/AIFFHandler.h"
#include "aiff/FormWalk.h"
#include "aiff/HeaderReader.h"

#include <algorithm>

namespace aiff
{

namespace
{
constexpr const char* kScanFile = "ScanFile";
}

bool clAIFFHandler::Initialize(XFileHandle file, const STNStdReport& report)
{
    m_report = report;
    const StdReport::Operation operation(m_report, "Initialize");
    DefaultCreate();
    (void)Open(std::move(file)); // the scan reports a file that is not open
    operation.Leave();
    return ScanFile();
}

bool clAIFFHandler::ScanFile()
{
    const StdReport::Operation operation(m_report, kScanFile);
    m_findings = {};
    const int64_t fileSize = Size();
    if (fileSize < 0) {
        StdReport::WriteERROR({L"Error reading File Size."}, m_report, kScanFile);
        return false;
    }
    if (fileSize == 0)
        return true;
    DefaultCreate();
    m_chunks.clear();
    m_data.clear();
    return IndexChunks(fileSize) && operation.Succeed();
}

bool clAIFFHandler::IndexChunks(int64_t fileSize)
{
    HeaderReader reader(*this, fileSize);
    FormWalk walk(m_report, kScanFile);
    FormHeader form;
    const auto header = reader.At(0, kFormHeaderSize);
    m_findings.endedEarly = std::ssize(header) < std::min(kFormHeaderSize, fileSize);
    if (!walk.Begin(header, fileSize, form))
        return false;
    m_formCode = form.code;
    m_formType = form.type;
    m_findings.fileSize = fileSize;
    m_findings.formSize = form.size;
    int64_t position = kFormHeaderSize;
    while (walk.MoreChunks()) {
        ChunkHeader chunk;
        if (Count() == kMostChunks) {
            StdReport::WriteERROR(
                {L"Error too many chunks, only the first ", int64_t{kMostChunks}, L" are listed."},
                m_report, kScanFile);
            m_findings.endedEarly = true;
            break;
        }
        if (!walk.ParseHeader(reader.At(position, kChunkHeaderSize), position, kChunkID3, chunk)) {
            m_findings.endedEarly = position + kChunkHeaderSize <= fileSize;
            break;
        }
        m_findings.cutToForm |= chunk.cutTo == ChunkHeader::CutTo::Form;
        m_findings.cutToFile |= chunk.cutTo == ChunkHeader::CutTo::Input;
        m_chunks.push_back({.ID = chunk.code,
                            .nSize = chunk.size,
                            .ChunkPosition = position,
                            .FileDataPosition = position + kChunkHeaderSize});
        walk.ChargeData(PaddedSize(chunk.size));
        position += kChunkHeaderSize + PaddedSize(chunk.size);
    }
    // The walk pads as CalcAllChunks does, so the positions found are the computed
    // ones; only the form's size can differ. The walk has warned of an odd one already.
    CalcAllChunks();
    m_findings.isWhole = !m_findings.endedEarly && !m_findings.cutToForm && !m_findings.cutToFile &&
                         form.size == m_formSize && fileSize == GetFormEnd();
    if (form.size != m_formSize && form.size % 2 == 0)
        StdReport::WriteINFO({L"Error calculated total AIFF chunk size differs from file."},
                             m_report, kScanFile);
    return true;
}

} // namespace aiff
