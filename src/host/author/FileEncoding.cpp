#include "host/author/FileEncoding.h"

#include "host/author/OutputContent.h"

#include <algorithm>
#include <limits>
#include <sys/stat.h>

namespace host
{
namespace
{

constexpr char kTooLarge[] = "is too large: an AIFF file cannot exceed 4 GiB";
// Below this size reserving space costs more than it saves.
constexpr int64_t kReserveFrom = 1024 * 1024;

// Bytes that the largest form leaves for samples beside these chunks; below zero when
// they alone are too many.
int64_t RoomForSound(const clPassAIFFChunks& chunks)
{
    int64_t room = int64_t{std::numeric_limits<uint32_t>::max()} - 4 - kChunkHeaderSize -
                   kLeastCommonSize - kChunkHeaderSize - kSoundPrefixSize;
    for (int i = 0; i < chunks.Count(); ++i) {
        const auto size = static_cast<int64_t>(chunks[i].data.Used());
        const bool counted = clAIFFHandler::CompareID(chunks[i].code, kChunkCommon, true) ||
                             clAIFFHandler::CompareID(chunks[i].code, kChunkSound, true);
        room -= counted ? 0 : kChunkHeaderSize + PaddedSize(size);
    }
    return room - room % 2;
}

} // namespace

FileEncoding::FileEncoding(ReportCapture& report, IfExists ifExists, ProgressFunction progress)
    : m_report(report), m_ifExists(ifExists), m_progress(std::move(progress))
{
}

FileResult FileEncoding::Run(const OutputPlan::Item& item)
{
    FileResult result;
    m_written = 0;
    m_report.Clear();
    result.outcome = Encode(item);
    m_report.Collect();
    result.problem = m_problem;
    if (result.outcome != ConvertOutcome::Failed) {
        const STQvWaveFormat format = m_source->Format();
        result.frames = m_source->SampleBytes(m_written) / format.nBlockAlign;
        const uint32_t rate = std::max<uint32_t>(format.nSamplesPerSec, 1);
        result.seconds = static_cast<double>(result.frames) / rate;
    }
    m_source.reset();
    return result;
}

ConvertOutcome FileEncoding::Encode(const OutputPlan::Item& item)
{
    m_outputName = "'" + item.output + "'";
    m_problem = item.input.IsUrl() ? "is a URL, only files can be encoded"
                                   : item.input.FileProblem().Text();
    if (m_problem.empty())
        m_problem = item.input.AccessProblem().Text();
    if (m_problem.empty())
        m_source = SoundSource::Open(item.input.Name(), m_problem);
    clPassAIFFChunks chunks;
    if (!m_problem.empty() || !m_source->ListChunks(chunks, m_problem))
        return ConvertOutcome::Failed;
    m_room = RoomForSound(chunks);
    OutputFile output({});
    if (m_room < std::max<int64_t>(m_source->ExpectedBytes(), 0)) {
        m_problem = kTooLarge;
        return ConvertOutcome::Failed;
    }
    if (!OpenOutput(item.output, output) || !WriteFile(output, chunks))
        return ConvertOutcome::Failed;
    if (Problem problem = output.Commit()) {
        m_problem = problem.Text();
        return ConvertOutcome::Failed;
    }
    m_problem = m_source->Damage();
    if (m_problem.empty() && m_written < m_source->ExpectedBytes())
        m_problem = "ends before its sound data is complete";
    if (m_problem.empty())
        return ConvertOutcome::Converted;
    m_problem += "; encoded what is there";
    return ConvertOutcome::Damaged;
}

// A file is completed at its start when its sound is known: a pipe will not do.
bool FileEncoding::OpenOutput(const std::string& path, OutputFile& output)
{
    struct stat status;
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
        return Fail(m_outputName + ": is no file, and AIFF can only be written to one");
    const int64_t expected = m_source->ExpectedBytes();
    Problem problem = output.Open(path, m_ifExists);
    if (!problem && expected >= kReserveFrom)
        problem = output.Reserve(expected);
    return !problem || Fail(problem.Text());
}

bool FileEncoding::WriteFile(const OutputFile& output, const clPassAIFFChunks& chunks)
{
    const auto content = std::make_shared<OutputContent>(output);
    clAIFFHandler aiff;
    if (aiff.InitializeNewAIFF(content, m_source->Format(), m_report.Handles(), chunks) &&
        aiff.WriteSTSoundData() == kSoundPrefixSize && WriteSound(aiff) && Complete(aiff))
        return true;
    return !m_problem.empty() ? false : Fail(m_outputName + ": " + content->Problem());
}

bool FileEncoding::WriteSound(clAIFFHandler& aiff)
{
    const auto expected = static_cast<double>(std::max<int64_t>(m_source->ExpectedBytes(), 1));
    while (true) {
        if (!m_source->Read(m_block))
            return Fail("cannot be read to the end of its sound data");
        if (m_block.Empty())
            return true;
        m_written += static_cast<int64_t>(m_block.Used());
        if (m_written > m_room)
            return Fail(kTooLarge);
        if (!aiff.Write(m_block.View()))
            return false;
        m_progress(static_cast<double>(m_written) / expected);
    }
}

// The sizes, the chunks behind the sound and the count of frames, which only the sound
// itself has told.
bool FileEncoding::Complete(clAIFFHandler& aiff)
{
    STRIFFChunk* sound = aiff.FindChunkForWrite(kChunkSound, false);
    if (sound == nullptr)
        return false;
    sound->nSize = kSoundPrefixSize + m_written;
    return aiff.WriteChunkHeaders(false) && aiff.WriteChunksAfterData() &&
           aiff.WriteCOMMChunkData(m_source->Format(), m_source->SampleBytes(m_written)) &&
           RestoreExactFields(aiff);
}

// An AIFF source may have a fraction in its rate and an offset in front of its samples.
bool FileEncoding::RestoreExactFields(clAIFFHandler& aiff)
{
    constexpr int64_t kRateOffset = 8;
    const auto& [rate, prefix] = m_source->Exact();
    const STRIFFChunk* common = aiff.FindChunkForRead(kChunkCommon, false);
    const STRIFFChunk* sound = aiff.FindChunkForRead(kChunkSound, false);
    const auto put = [&aiff](int64_t position, const std::vector<uint8_t>& bytes) {
        return bytes.empty() || (aiff.SetPosition(position) && aiff.Write(bytes));
    };
    return put(common->FileDataPosition + kRateOffset, rate) &&
           put(sound->FileDataPosition, prefix);
}

bool FileEncoding::Fail(const std::string& what)
{
    m_problem = what;
    return false;
}

} // namespace host
