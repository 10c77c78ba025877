#pragma once

#include "aiff/AIFFHandler.h"
#include "aiff/PassChunks.h"
#include "host/author/SoundSource.h"
#include "host/batch/Batch.h"
#include "host/batch/OutputFile.h"
#include "host/session/ReportCapture.h"

#include <string>

namespace host
{

// Turns one input into one AIFF file, bit for bit. One object per worker, used for one
// file after the other.
class FileEncoding
{
public:
    // The report must outlive the object.
    FileEncoding(ReportCapture& report, IfExists ifExists, ProgressFunction progress);

    FileResult Run(const OutputPlan::Item& item);

private:
    ConvertOutcome Encode(const OutputPlan::Item& item);
    bool OpenOutput(const std::string& path, OutputFile& output);
    bool WriteFile(const OutputFile& output, const clPassAIFFChunks& chunks);
    bool WriteSound(clAIFFHandler& aiff);
    bool Complete(clAIFFHandler& aiff);
    bool RestoreExactFields(clAIFFHandler& aiff);
    bool Fail(const std::string& what);

    ReportCapture& m_report;
    const IfExists m_ifExists;
    ProgressFunction m_progress;
    XMem m_block;
    std::unique_ptr<SoundSource> m_source;
    std::string m_problem;
    std::string m_outputName;
    int64_t m_room = 0;    // bytes of sound that the new file can hold
    int64_t m_written = 0; // bytes of sound in it
};

} // namespace host
