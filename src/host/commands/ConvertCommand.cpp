// SPDX-License-Identifier: MIT
#include "host/author/SoundFile.h"
#include "host/commands/BatchArguments.h"
#include "host/commands/Command.h"
#include "host/commands/FetchArguments.h"
#include "host/commands/FileConversion.h"
#include "host/commands/OutputName.h"
#include "support/text/XStr.h"

#include <array>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace aiff::host
{
namespace
{

constexpr char kWav[] = "wav";
constexpr char kFlac[] = "flac";
constexpr std::array<std::string_view, 2> kOutputEndings = {".wav", ".flac"};

constexpr char kExamples[] = R"(Examples:
  aiffconv convert song.aiff -o song.wav
  aiffconv convert song.aiff -o song.flac      FLAC, chosen by the file name
  aiffconv convert *.aiff -o wav/              several files to a folder
  aiffconv convert library -o flac/ --format flac   a folder, with those in it
  aiffconv convert song.aiff -o - | aplay      to another program
  aiffconv convert song.aiff -o part.wav --start 1:30 --end 2:00.5
  aiffconv convert song.aiff -o part.wav --start 44100f --end 88200f

--start and --end take seconds ("90", "90.5s"), minutes or hours as well ("1:30.5",
"1:00:00"), or sample frames ("44100f"). The end itself is not included.
Tags and pictures are copied too, unless --no-tags is given.)";

Problem ParsePoint(const std::string& option, const std::string& text,
                   std::optional<TimePoint>& point)
{
    if (text.empty())
        return {};
    point = TimePoint::Parse(text);
    if (point)
        return {};
    return option +
           " takes seconds (\"90.5\"), minutes (\"1:30.5\") or sample frames (\"44100f\"), not '" +
           text + "'";
}

bool IsFolder(const std::string& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

class ConvertCommand : public DecoderCommand
{
public:
    CommandLine AddTo(CommandLine program) override;

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override;
    Problem ReadRange();
    AudioFormat ChosenFormat() const;
    Result<OutputPlan> MakePlan(const codecs::CodecLoader& loader) const;

    std::vector<std::string> m_inputs;
    std::string m_start;
    std::string m_end;
    std::string m_format;
    bool m_noTags = false;
    BatchOptions m_batch;
    ConvertOptions m_options;
};

CommandLine ConvertCommand::AddTo(CommandLine program)
{
    const CommandLine command =
        program.AddCommand("convert", "Convert to WAV or FLAC, bit for bit");
    command.AddOption("IN", m_inputs, kInputs).Required().Files(kAiffEndings);
    command
        .AddOption("-o,--output", m_batch.output,
                   "File or folder to write to, or - for standard output")
        .Required()
        .Files(kOutputEndings);
    command.AddOption("--start", m_start, "Start converting here");
    command.AddOption("--end", m_end, "Stop converting here");
    command
        .AddOption("--format", m_format,
                   "wav or flac (default: as the output's extension says, else wav)")
        .OneOf({kWav, kFlac});
    command.AddFlag("--no-tags", m_noTags, "Do not copy tags and pictures");
    AddPluginOnlyOption(command, m_options.pluginOnly);
    AddFetchOptions(command, m_options.fetch);
    AddBatchOptions(command, m_batch);
    command.Footer(kExamples);
    return command;
}

ExitCode ConvertCommand::Work(const codecs::CodecLoader& loader, const Trace& trace)
{
    if (Problem problem = ReadRange())
        return FailWith(kExitUsage, problem);
    m_options.tags = !m_noTags;
    m_options.verify = m_batch.verify;
    m_options.format = ChosenFormat();
    const Result<OutputPlan> plan = MakePlan(loader);
    if (!plan)
        return FailWith(kExitUsage, plan.Why());
    const auto makeWork = [&](const ProgressFunction& progress) {
        auto conversion = std::make_shared<FileConversion>(loader, trace, m_options, progress);
        return [conversion](const OutputPlan::Item& item, const OutputRules& rules) {
            return conversion->Run(item, rules);
        };
    };
    return RunBatch(*plan, m_batch, trace, {"converted", makeWork, SoundFileDamage});
}

Problem ConvertCommand::ReadRange()
{
    if (Problem problem = ParsePoint("--start", m_start, m_options.start))
        return problem;
    if (Problem problem = ParsePoint("--end", m_end, m_options.end))
        return problem;
    const auto& start = m_options.start;
    const auto& end = m_options.end;
    constexpr uint32_t kAnyRate = 1'000'000;
    const bool comparable = start && end && start->NeedsRate() == end->NeedsRate();
    if (comparable && start->Frame(kAnyRate) >= end->Frame(kAnyRate))
        return "--end must be after --start";
    return {};
}

AudioFormat ConvertCommand::ChosenFormat() const
{
    if (!m_format.empty())
        return m_format == kFlac ? AudioFormat::Flac : AudioFormat::Wav;
    const bool named = EqualNoCase(Input(m_batch.output).Extension(), std::string(".") + kFlac);
    return named && !IsFolder(m_batch.output) ? AudioFormat::Flac : AudioFormat::Wav;
}

Result<OutputPlan> ConvertCommand::MakePlan(const codecs::CodecLoader& loader) const
{
    const auto isKnown = [&loader](const std::string& extension) {
        return loader.ForExtension(FromPathBytes(extension)) != nullptr;
    };
    const bool isFlac = m_options.format == AudioFormat::Flac;
    const std::string extension = std::string(".") + (isFlac ? kFlac : kWav);
    Result<OutputPlan> plan = PlanOutputs(FindInputs(m_inputs, kAiffEndings, m_batch.output),
                                          m_batch.output, extension, isKnown);
    if (!plan)
        return plan;
    if (plan->items.front().output == m_batch.output) {
        const FormatChoice choice =
            m_format.empty() ? FormatChoice::ByName : FormatChoice::ByOption;
        if (Problem problem = OutputNameProblem(m_batch.output, isFlac ? "FLAC" : "WAV", choice))
            return problem;
    }
    if (m_batch.output != "-")
        return plan;
    if (m_batch.verify)
        return Problem("--verify reads the output back, which standard output cannot be");
    if (isatty(STDOUT_FILENO) != 0)
        return Problem("standard output is a terminal: redirect it to a file or another program");
    if (m_batch.json)
        return Problem("--json writes to standard output, which '-o -' already uses");
    return plan;
}

} // namespace

std::unique_ptr<Command> MakeConvertCommand()
{
    return std::make_unique<ConvertCommand>();
}

} // namespace aiff::host
