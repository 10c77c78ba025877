#include "host/Command.h"
#include "host/ExitCode.h"
#include "host/FileConversion.h"
#include "host/Interruption.h"
#include "host/Jobs.h"
#include "host/OutputPlan.h"
#include "host/Progress.h"
#include "host/ReportCapture.h"
#include "host/WideText.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace host
{
namespace
{

constexpr char kOutputExtension[] = ".wav";
constexpr size_t kMaxJobs = 256;

constexpr char kExamples[] = R"(Examples:
  aiffconv convert song.aiff -o song.wav
  aiffconv convert *.aiff -o wav/              several files into a folder
  aiffconv convert song.aiff -o - | aplay      to another program
  aiffconv convert song.aiff -o part.wav --start 1:30 --end 2:00.5
  aiffconv convert song.aiff -o part.wav --start 44100f --end 88200f

--start and --end take seconds ("90", "90.5s"), minutes and hours before them
("1:30.5", "1:00:00"), or sample frames ("44100f"). The end is not included.)";

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

class ConvertCommand : public Command
{
public:
    CLI::App* AddTo(CLI::App& program) override;
    int Run(const GlobalOptions& global) override;

private:
    bool ReadRange();
    bool MakePlan(const codecs::CodecLoader& loader, OutputPlan& plan) const;
    bool MakeFolder(const std::string& folder) const;
    int ConvertAll(const codecs::CodecLoader& loader, const OutputPlan& plan,
                   const Trace& trace) const;

    std::vector<std::string> m_inputs;
    std::string m_output;
    std::string m_start;
    std::string m_end;
    size_t m_jobs = 0;
    bool m_quiet = false;
    ConvertOptions m_options;
};

CLI::App* ConvertCommand::AddTo(CLI::App& program)
{
    CLI::App* command = program.add_subcommand("convert", "Convert to WAV, bit for bit");
    command->add_option("IN", m_inputs, "Files, or URLs that begin with http://")->required();
    command
        ->add_option("-o,--output", m_output, "File or folder to write, or - for standard output")
        ->required();
    command->add_option("--start", m_start, "Convert from here on");
    command->add_option("--end", m_end, "Convert up to here");
    command
        ->add_option("-j,--jobs", m_jobs, "Files converted at a time (default: one per processor)")
        ->check(CLI::Range(size_t{1}, kMaxJobs));
    command->add_flag("--overwrite", m_options.overwrite,
                      "Replace existing files (else they are kept, which counts as a failure)");
    command->add_flag("-q,--quiet", m_quiet, "Show problems only");
    command->footer(kExamples);
    return command;
}

int ConvertCommand::Run(const GlobalOptions& global)
{
    if (!ReadRange())
        return kExitUsage;
    codecs::CodecLoader loader;
    if (!LoadDecoders(loader))
        return kExitNoDecoder;
    OutputPlan plan;
    if (!MakePlan(loader, plan))
        return kExitUsage;
    if (!plan.newFolder.empty() && !MakeFolder(plan.newFolder))
        return kExitSomeFailed;
    const int result = ConvertAll(loader, plan, global.trace);
    if (!plan.newFolder.empty())
        rmdir(plan.newFolder.c_str()); // succeeds when nothing was converted
    return result;
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

bool ConvertCommand::MakePlan(const codecs::CodecLoader& loader, OutputPlan& plan) const
{
    std::string problem;
    if (!PlanOutputs(m_inputs, m_output, kOutputExtension, loader, plan, problem)) {
        SayProblem(problem);
        return false;
    }
    if (m_output == "-" && isatty(STDOUT_FILENO) != 0) {
        SayProblem("standard output is a terminal: send it to a file or another program");
        return false;
    }
    return true;
}

bool ConvertCommand::MakeFolder(const std::string& folder) const
{
    const bool made = Interruption::Undisturbed([&folder] {
        Interruption::RegisterFolder(folder);
        return mkdir(folder.c_str(), 0777) == 0;
    });
    if (!made)
        SayProblem("cannot make the folder '" + folder + "': " + std::strerror(errno));
    return made;
}

int ConvertCommand::ConvertAll(const codecs::CodecLoader& loader, const OutputPlan& plan,
                               const Trace& trace) const
{
    const size_t files = plan.items.size();
    // The lines of several files would mix in the trace.
    const size_t workers = WorkerCount(files, trace.IsOn() ? 1 : m_jobs);
    const bool traceOnTerminal = trace.descriptor == STDERR_FILENO;
    Progress progress(Progress::ChooseStyle(m_quiet, traceOnTerminal), files, workers);
    std::atomic<size_t> failed{0};
    std::atomic<size_t> damaged{0};
    std::deque<ReportCapture> reports;
    std::deque<FileConversion> conversions;
    for (size_t worker = 0; worker < workers; ++worker) {
        reports.emplace_back(trace);
        conversions.emplace_back(
            loader, reports.back(), m_options,
            [&progress, worker](double fraction) { progress.Update(worker, fraction); });
    }
    RunJobs(files, workers, [&](size_t index, size_t worker) {
        const OutputPlan::Item& item = plan.items[index];
        FileConversion& conversion = conversions[worker];
        const ConvertOutcome outcome = conversion.Run(item);
        failed += outcome == ConvertOutcome::Failed;
        damaged += outcome == ConvertOutcome::Damaged;
        if (outcome != ConvertOutcome::Converted)
            progress.Problem(Printable(item.input.Name() + ": " + conversion.Problem()));
        const bool written = outcome != ConvertOutcome::Failed;
        progress.FileDone(worker,
                          written ? Printable(item.input.Name() + " -> " + item.output) : "");
    });
    if (files > 1)
        progress.Summary(std::to_string(files - failed) + " of " + std::to_string(files) +
                         " files converted");
    if (failed != 0)
        return kExitSomeFailed;
    return damaged != 0 ? kExitDamaged : kExitDone;
}

} // namespace

std::unique_ptr<Command> MakeConvertCommand()
{
    return std::make_unique<ConvertCommand>();
}

} // namespace host
