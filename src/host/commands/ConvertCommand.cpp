#include "host/base/ExitCode.h"
#include "host/batch/Batch.h"
#include "host/batch/OutputPlan.h"
#include "host/commands/Command.h"
#include "host/commands/FileConversion.h"
#include "host/session/ReportCapture.h"
#include "support/text/XStr.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace host
{
namespace
{

constexpr char kWav[] = "wav";
constexpr char kFlac[] = "flac";

constexpr char kExamples[] = R"(Examples:
  aiffconv convert song.aiff -o song.wav
  aiffconv convert song.aiff -o song.flac      FLAC, told by the name
  aiffconv convert *.aiff -o wav/              several files into a folder
  aiffconv convert *.aiff -o flac/ --format flac
  aiffconv convert song.aiff -o - | aplay      to another program
  aiffconv convert song.aiff -o part.wav --start 1:30 --end 2:00.5
  aiffconv convert song.aiff -o part.wav --start 44100f --end 88200f

--start and --end take seconds ("90", "90.5s"), minutes and hours before them
("1:30.5", "1:00:00"), or sample frames ("44100f"). The end is not included.
Tags and pictures go along, unless --no-tags is given.)";

bool ParsePoint(const std::string& option, const std::string& text, std::optional<TimePoint>& point)
{
    TimePoint parsed;
    if (text.empty())
        return true;
    if (!TimePoint::Parse(text, parsed)) {
        SayProblem(
            option +
            " takes seconds (\"90.5\"), minutes (\"1:30.5\") or sample frames (\"44100f\"), not '" +
            text + "'");
        return false;
    }
    point = parsed;
    return true;
}

bool IsFolder(const std::string& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

class ConvertCommand : public DecoderCommand
{
public:
    CLI::App* AddTo(CLI::App& program) override;

private:
    int Work(const codecs::CodecLoader& loader, const Trace& trace) override;
    bool ReadRange();
    AudioFormat ChosenFormat() const;
    bool MakePlan(const codecs::CodecLoader& loader, OutputPlan& plan) const;

    std::vector<std::string> m_inputs;
    std::string m_start;
    std::string m_end;
    std::string m_format;
    bool m_noTags = false;
    BatchOptions m_batch;
    ConvertOptions m_options;
};

CLI::App* ConvertCommand::AddTo(CLI::App& program)
{
    CLI::App* command = program.add_subcommand("convert", "Convert to WAV or FLAC, bit for bit");
    command->add_option("IN", m_inputs, "Files, or URLs that begin with http://")->required();
    command
        ->add_option("-o,--output", m_batch.output,
                     "File or folder to write, or - for standard output")
        ->required();
    command->add_option("--start", m_start, "Convert from here on");
    command->add_option("--end", m_end, "Convert up to here");
    command
        ->add_option("--format", m_format,
                     "wav or flac (default: by the end of the output's name, else wav)")
        ->check(CLI::IsMember({kWav, kFlac}));
    command->add_flag("--no-tags", m_noTags, "Leave tags and pictures out");
    AddBatchOptions(*command, m_batch);
    command->footer(kExamples);
    return command;
}

int ConvertCommand::Work(const codecs::CodecLoader& loader, const Trace& trace)
{
    if (!ReadRange())
        return kExitUsage;
    m_options.overwrite = m_batch.overwrite;
    m_options.tags = !m_noTags;
    m_options.format = ChosenFormat();
    OutputPlan plan;
    if (!MakePlan(loader, plan))
        return kExitUsage;
    return RunBatch(plan, m_batch, trace, "converted", [&](ProgressFunction progress) {
        auto report = std::make_shared<ReportCapture>(trace);
        auto conversion = std::make_shared<FileConversion>(loader, *report, m_options, progress);
        return [report, conversion](const OutputPlan::Item& item) { return conversion->Run(item); };
    });
}

bool ConvertCommand::ReadRange()
{
    if (!ParsePoint("--start", m_start, m_options.start) ||
        !ParsePoint("--end", m_end, m_options.end))
        return false;
    const auto& start = m_options.start;
    const auto& end = m_options.end;
    constexpr uint32_t kAnyRate = 1'000'000;
    const bool comparable = start && end && start->NeedsRate() == end->NeedsRate();
    if (comparable && start->Frame(kAnyRate) >= end->Frame(kAnyRate)) {
        SayProblem("--end must lie behind --start");
        return false;
    }
    return true;
}

AudioFormat ConvertCommand::ChosenFormat() const
{
    if (!m_format.empty())
        return m_format == kFlac ? AudioFormat::Flac : AudioFormat::Wav;
    const bool named = EqualNoCase(Input(m_batch.output).Extension(), std::string(".") + kFlac);
    return named && !IsFolder(m_batch.output) ? AudioFormat::Flac : AudioFormat::Wav;
}

bool ConvertCommand::MakePlan(const codecs::CodecLoader& loader, OutputPlan& plan) const
{
    std::string problem;
    const auto isKnown = [&loader](const std::string& extension) {
        return loader.ForExtension(FromPathBytes(extension)) != nullptr;
    };
    const bool isFlac = m_options.format == AudioFormat::Flac;
    const std::string extension = std::string(".") + (isFlac ? kFlac : kWav);
    if (!PlanOutputs(m_inputs, m_batch.output, extension, isKnown, plan, problem)) {
        SayProblem(problem);
        return false;
    }
    if (m_batch.output == "-" && isatty(STDOUT_FILENO) != 0) {
        SayProblem("standard output is a terminal: send it to a file or another program");
        return false;
    }
    return true;
}

} // namespace

std::unique_ptr<Command> MakeConvertCommand()
{
    return std::make_unique<ConvertCommand>();
}

} // namespace host
