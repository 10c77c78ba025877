// Making the index of a file.

#include "aiff/AIFFHandler.h"
#include "aiff/FormWalk.h"
#include "aiff/HeaderReader.h"

namespace
{
constexpr const char* kScanFile = "ScanFile";
}

bool clAIFFHandler::Initialize(XFileHandle file, const STNStdReport& report)
{
    m_report = report;
    const StdReport::Operation operation(m_report, "Initialize");
    DefaultCreate();
    // A file that is not open shows in the scan, as one without a size.
    (void)Open(std::move(file));
    operation.Succeed();
    return ScanFile();
}

bool clAIFFHandler::ScanFile()
{
    const StdReport::Operation operation(m_report, kScanFile);
    const int64_t fileSize = Size();
    if (fileSize < 0) {
        StdReport::WriteERROR({L"Error reading File Size."}, m_report, kScanFile);
        return false;
    }
    if (fileSize == 0)
        return true;
    DefaultCreate();
    m_chunks.clear();
    return IndexChunks(fileSize) && operation.Succeed();
}

bool clAIFFHandler::IndexChunks(int64_t fileSize)
{
    HeaderReader reader(*this, fileSize);
    FormWalk walk(m_report, kScanFile);
    STFormHeader form;
    if (!walk.Begin(reader.At(0, kFormHeaderSize), fileSize, form))
        return false;
    m_formCode = form.code;
    m_formType = form.type;
    m_findings = {};
    m_findings.nFileSize = fileSize;
    m_findings.nFormSize = form.nSize;
    int64_t position = kFormHeaderSize;
    while (walk.MoreChunks()) {
        STChunkHeader chunk;
        if (!walk.TakeHeader(reader.At(position, kChunkHeaderSize), position, kChunkID3, chunk)) {
            m_findings.endedEarly = position + kChunkHeaderSize <= fileSize;
            break;
        }
        m_findings.cutToForm |= chunk.cutTo == STChunkHeader::CutTo::Form;
        m_findings.cutToFile |= chunk.cutTo == STChunkHeader::CutTo::Input;
        m_chunks.push_back(
            {chunk.code, chunk.nSize, position, position + kChunkHeaderSize, false, {}});
        walk.Passed(PaddedSize(chunk.nSize));
        position += kChunkHeaderSize + PaddedSize(chunk.nSize);
    }
    // The walk pads as CalcAllChunks does, so the positions found are the computed
    // ones; only the form's size can differ. An odd one was warned about already.
    CalcAllChunks();
    if (form.nSize != m_formSize && form.nSize % 2 == 0)
        StdReport::WriteINFO({L"Error calculated total AIFF chunk size differs from file."},
                             m_report, kScanFile);
    return true;
}
