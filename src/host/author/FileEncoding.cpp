// SPDX-License-Identifier: MIT
#include "host/author/FileEncoding.h"

#include "aiff/AIFFHandler.h"
#include "aiff/PassChunks.h"
#include "host/author/OpenSource.h"
#include "host/author/OutputContent.h"
#include "host/author/SoundSum.h"
#include "host/author/VerifyOutput.h"
#include "host/author/tags/AiffForm.h"
#include "host/batch/OutputFile.h"
#include "host/session/ReportCapture.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <sys/stat.h>

namespace aiff::host
{
namespace
{

constexpr char kTooLarge[] = "is too large: an AIFF file cannot exceed 4 GiB";

// How many bytes of sound fit into the largest form beside these chunks; negative when the
// chunks alone are too large.
int64_t RoomForSound(const clPassAIFFChunks& chunks)
{
    int64_t room = int64_t{std::numeric_limits<uint32_t>::max()} - 4 - kChunkHeaderSize -
                   kLeastCommonSize - kChunkHeaderSize - kSoundPrefixSize;
    for (int i = 0; i < chunks.Count(); ++i) {
        const auto size = static_cast<int64_t>(chunks[i].data.Used());
        const bool isCounted = IsCommonOrSound(chunks[i].code); // in the constants above
        room -= isCounted ? 0 : kChunkHeaderSize + PaddedSize(size);
    }
    return room - room % 2;
}

class FileEncoding
{
public:
    FileEncoding(const Trace& trace, EncodeOptions options, ProgressFunction progress)
        : m_report(trace), m_options(options), m_progress(std::move(progress))
    {
    }

    FileResult Run(const OutputPlan::Item& item, const OutputRules& rules);

private:
    Problem Encode(const OutputPlan::Item& item, const OutputRules& rules);
    Problem OpenSourceOf(const Input& named);
    Problem OpenOutput(const std::string& path, const OutputRules& rules, OutputFile& output);
    Problem WriteFile(const OutputFile& output, const clPassAIFFChunks& chunks);
    Problem WriteSound(clAIFFHandler& aiff, const OutputContent& content);
    Problem Verify(OutputFile& output);
    bool Complete(clAIFFHandler& aiff);
    bool RestoreExactFields(clAIFFHandler& aiff);
    FileResult SumUp() const;

    ReportCapture m_report;
    EncodeOptions m_options;
    ProgressFunction m_progress;
    XMem m_block;
    std::optional<InputAtHand> m_input; // keeps the copy that the source reads
    std::unique_ptr<SoundSource> m_source;
    std::string m_outputName;
    int64_t m_room = 0;            // bytes of sound that the new file can hold
    int64_t m_written = 0;         // bytes of sound in it
    std::optional<SoundSum> m_sum; // of its samples, to verify it
    bool m_isNotAsSummed = false;
};

FileResult FileEncoding::Run(const OutputPlan::Item& item, const OutputRules& rules)
{
    m_written = 0;
    m_isNotAsSummed = false;
    m_report.Clear();
    const Problem problem = Encode(item, rules);
    m_report.Collect();
    m_report.Rest();
    FileResult result = problem ? FileResult{ConvertOutcome::Failed, problem} : SumUp();
    m_source.reset();
    m_input.reset();
    return result;
}

FileResult FileEncoding::SumUp() const
{
    FileResult result;
    const STQvWaveFormat format = m_source->Format();
    result.outcome = ConvertOutcome::Converted;
    result.notes = m_source->Notes();
    result.frames = m_source->SampleBytes(m_written) / format.nBlockAlign;
    const uint32_t rate = std::max<uint32_t>(format.nSamplesPerSec, 1);
    result.seconds = static_cast<double>(result.frames) / rate;
    if (const std::string leftOut = m_source->LeftOut(); !leftOut.empty())
        result.notes.push_back(leftOut);
    result.fetched = m_input->fetched;
    Problem damage = m_input->incomplete ? m_input->incomplete : m_source->Damage();
    if (!damage && m_written < m_source->ExpectedBytes())
        damage = "ends before its sound data is complete";
    if (!damage && m_isNotAsSummed)
        damage = kNotAsSummed;
    if (damage) {
        result.outcome = ConvertOutcome::Damaged;
        result.problem = damage.Text() + "; encoded what is there";
    }
    return result;
}

Problem FileEncoding::Encode(const OutputPlan::Item& item, const OutputRules& rules)
{
    m_outputName = "'" + item.output + "'";
    if (Problem problem = OpenSourceOf(item.input))
        return problem;
    clPassAIFFChunks chunks;
    if (Problem problem = m_source->ListChunks(chunks))
        return problem;
    m_room = RoomForSound(chunks);
    if (m_room < std::max<int64_t>(m_source->ExpectedBytes(), 0))
        return kTooLarge;
    OutputFile output({});
    if (Problem problem = OpenOutput(item.output, rules, output))
        return problem;
    m_sum.reset();
    if (m_options.verify)
        m_sum.emplace((m_source->Format().nBitsPerSample + 7) / 8 * 8);
    if (Problem problem = WriteFile(output, chunks))
        return problem;
    if (Problem problem = m_sum ? Verify(output) : Problem())
        return problem;
    return output.Commit();
}

// Of the source, too, where it knows what its sound is.
Problem FileEncoding::Verify(OutputFile& output)
{
    const Result<std::string> sum = m_sum->Hex();
    if (!sum)
        return sum.Why();
    const std::string own = m_source->OwnSum();
    m_isNotAsSummed = !own.empty() && own != *sum;
    return VerifyOutput(output, m_source->Format(), *sum);
}

Problem FileEncoding::OpenSourceOf(const Input& named)
{
    Result<InputAtHand> atHand = BringFileToHand(
        named, m_options.fetch, [this](int64_t bytes) { m_progress(Advance::Received(bytes)); });
    if (!atHand)
        return atHand.Why();
    m_input = std::move(*atHand);
    const Input& input = m_input->input;
    if (Problem problem = input.FileProblem())
        return problem;
    if (Problem problem = input.AccessProblem())
        return problem;
    Result<std::unique_ptr<SoundSource>> source = OpenSource(input.Path());
    if (!source)
        return m_input->incomplete ? m_input->incomplete : source.Why();
    m_source = std::move(*source);
    return {};
}

// The beginning of the file is completed last, which a pipe does not allow.
Problem FileEncoding::OpenOutput(const std::string& path, const OutputRules& rules,
                                 OutputFile& output)
{
    struct stat status;
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
        return Problem("is not a regular file, and AIFF can only be written to one")
            .About(m_outputName);
    const Problem problem = output.Open(path, rules);
    return problem ? problem : output.Reserve(m_source->ExpectedBytes());
}

Problem FileEncoding::WriteFile(const OutputFile& output, const clPassAIFFChunks& chunks)
{
    const auto content = std::make_shared<OutputContent>(output);
    clAIFFHandler aiff;
    if (!aiff.InitializeNewAIFF(content, m_source->Format(), m_report.Handles(), chunks) ||
        aiff.WriteSTSoundData() != kSoundPrefixSize)
        return content->Failure().About(m_outputName);
    if (Problem problem = WriteSound(aiff, *content))
        return problem;
    return Complete(aiff) ? Problem() : content->Failure().About(m_outputName);
}

Problem FileEncoding::WriteSound(clAIFFHandler& aiff, const OutputContent& content)
{
    const auto expected = static_cast<double>(std::max<int64_t>(m_source->ExpectedBytes(), 1));
    while (true) {
        if (!m_source->Read(m_block))
            return "cannot be read to the end of its sound data";
        if (m_block.Empty())
            return {};
        m_written += static_cast<int64_t>(m_block.Used());
        if (m_written > m_room)
            return kTooLarge;
        if (!aiff.Write(m_block.View()))
            return content.Failure().About(m_outputName);
        if (m_sum && m_source->SampleBytes(m_written) > 0)
            m_sum->AddAiff(m_block); // which it leaves in another order
        m_progress(static_cast<double>(m_written) / expected);
    }
}

// Writes the sizes, the chunks after the sound and the number of frames, which are known
// only now.
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

// An AIFF source may have a fractional sample rate and an offset before its samples.
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

} // namespace

FileWork MakeEncodingWork(const Trace& trace, EncodeOptions options, ProgressFunction progress)
{
    const auto encoding = std::make_shared<FileEncoding>(trace, options, std::move(progress));
    return [encoding](const OutputPlan::Item& item, const OutputRules& rules) {
        return encoding->Run(item, rules);
    };
}

} // namespace aiff::host
