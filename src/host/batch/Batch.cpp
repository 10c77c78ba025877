// SPDX-License-Identifier: MIT
#include "host/batch/Batch.h"

#include "host/base/Json.h"
#include "host/base/Printable.h"
#include "host/batch/InOrder.h"
#include "host/batch/InputState.h"
#include "host/batch/Interruption.h"
#include "host/batch/Jobs.h"
#include "host/batch/NewFolders.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace aiff::host
{
namespace
{

// Makes the folder of an output; empty when that is not ours to make.
using FolderMaker = std::function<Problem(const std::string& output)>;

const char* StatusName(ConvertOutcome outcome)
{
    switch (outcome) {
    case ConvertOutcome::Converted:
        return "done";
    case ConvertOutcome::Damaged:
        return "damaged";
    case ConvertOutcome::Skipped:
        return "skipped";
    case ConvertOutcome::Failed:
        break;
    }
    return "failed";
}

// Each line is written in one piece: the log of a batch that was killed ends with a whole
// line.
void PrintResult(const OutputPlan::Item& item, const FileResult& result, double elapsed)
{
    const bool written = result.frames >= 0;
    std::vector<std::string> notes = result.notes;
    if (!result.fetched.empty())
        notes.insert(notes.begin(), result.fetched);
    const Json line = {{"input", item.input.Name()},
                       {"output", item.output},
                       {"status", StatusName(result.outcome)},
                       {"frames", written ? Json(result.frames) : Json()},
                       {"seconds", written ? Json(result.seconds) : Json()},
                       {"elapsed", elapsed},
                       {"problem", result.problem ? Json(result.problem.Text()) : Json()},
                       {"notes", notes}};
    const std::string text = JsonText(line, JsonLayout::OneLine);
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

bool IsFile(const std::string& path)
{
    struct stat status;
    return path != "-" && stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

FileResult Skipped()
{
    FileResult result;
    result.outcome = ConvertOutcome::Skipped;
    return result;
}

// The result is no better than the input was while it was read.
FileResult RunOnSteadyInput(const OutputPlan::Item& item, const FileWork& work,
                            const OutputRules& rules)
{
    const InputState before(item.input);
    FileResult result = work(item, rules);
    if (!InputState(item.input).HasChangedSince(before))
        return result;
    constexpr char kChanged[] = "was changed by another program while it was read";
    if (result.outcome == ConvertOutcome::Converted)
        result.outcome = ConvertOutcome::Damaged;
    result.problem = result.problem ? result.problem.Text() + "; it " + kChanged : kChanged;
    return result;
}

// With --skip-existing, an output that another machine has finished in the meantime is as
// good as one that was there from the start.
FileResult RunFile(const OutputPlan::Item& item, const FileWork& work, const BatchOptions& options,
                   const BatchTask& task, const FolderMaker& makeFolder)
{
    if (item.problem)
        return {ConvertOutcome::Failed, item.problem};
    OutputRules rules{options.overwrite ? IfExists::Replace : IfExists::Fail, options.sync};
    if (makeFolder)
        rules.makeFolder = [&] { return makeFolder(item.output); };
    Problem replaced;
    if (options.skipExisting && IsFile(item.output)) {
        replaced = task.outputDamage(item.output);
        if (!replaced)
            return Skipped();
        rules.ifExists = IfExists::Replace;
    }
    if (Problem problem = makeFolder ? makeFolder(item.output) : Problem())
        return {ConvertOutcome::Failed, problem};
    FileResult result = RunOnSteadyInput(item, work, rules);
    const bool failed = result.outcome == ConvertOutcome::Failed;
    if (options.skipExisting && failed && !replaced && IsFile(item.output))
        return Skipped();
    if (replaced && !failed)
        result.notes.push_back("made again, as the old '" + item.output + "' " + replaced.Text());
    return result;
}

std::string Line(const OutputPlan::Item& item, ConvertOutcome outcome)
{
    if (outcome == ConvertOutcome::Failed)
        return {};
    const std::string arrow = outcome == ConvertOutcome::Skipped ? ": skipped, there is " : " -> ";
    return Printable(item.input.Name() + arrow + item.output);
}

struct Counts {
    std::atomic<size_t> failed{0};
    std::atomic<size_t> damaged{0};
    std::atomic<size_t> skipped{0};

    void Add(ConvertOutcome outcome)
    {
        failed += outcome == ConvertOutcome::Failed;
        damaged += outcome == ConvertOutcome::Damaged;
        skipped += outcome == ConvertOutcome::Skipped;
    }

    std::string Summary(size_t files, const std::string& verb) const
    {
        const std::string done = std::to_string(files - failed - skipped) + " of " +
                                 std::to_string(files) + " files " + verb;
        return skipped == 0 ? done : done + ", " + std::to_string(skipped) + " skipped";
    }
};

// A bar would be torn by a trace on the same terminal.
Progress::Style ProgressStyle(const BatchOptions& options, const Trace& trace)
{
    if (options.quiet || options.json)
        return Progress::Style::Quiet;
    const char* const terminal = std::getenv("TERM");
    const bool canErase = terminal != nullptr && terminal != std::string_view("dumb");
    const bool bar = isatty(STDERR_FILENO) != 0 && canErase && !trace.onTerminal;
    return bar ? Progress::Style::Bar : Progress::Style::Lines;
}

// Negative where it is unknown.
int64_t SizeOf(const Input& input)
{
    struct stat status;
    const bool isFile = input.IsFile() && stat(input.Path().c_str(), &status) == 0;
    return isFile && S_ISREG(status.st_mode) ? status.st_size : input.IsFile() ? 0 : -1;
}

void RunAll(const OutputPlan& plan, const BatchOptions& options, const Trace& trace,
            const BatchTask& task, const FolderMaker& makeFolder, Counts& counts)
{
    using Clock = std::chrono::steady_clock;
    const size_t files = plan.items.size();
    // A trace shows one file at a time, so that its lines do not mix.
    const size_t workers =
        WithinDescriptorLimit(WorkerCount(files, trace.IsOn() ? 1 : options.jobs));
    const Progress::Style style = ProgressStyle(options, trace);
    std::vector<int64_t> sizes(files);
    if (style == Progress::Style::Bar)
        std::ranges::transform(plan.items, sizes.begin(), SizeOf, &OutputPlan::Item::input);
    Progress progress(style, std::move(sizes), workers);
    std::vector<FileWork> works;
    for (size_t worker = 0; worker < workers; ++worker)
        works.push_back(task.makeWork(
            [&progress, worker](Advance advance) { progress.Update(worker, advance); }));
    InOrder lines(files);
    RunJobs(files, workers, [&](size_t index, size_t worker) {
        const OutputPlan::Item& item = plan.items[index];
        progress.Begin(worker, index, item.input.BaseName());
        const Clock::time_point start = Clock::now();
        const FileResult result = RunFile(item, works[worker], options, task, makeFolder);
        const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
        counts.Add(result.outcome);
        progress.FileDone(worker);
        lines.Done(index, [&progress, &options, &item, result, elapsed] {
            if (!result.fetched.empty() && !options.quiet)
                progress.ShowProblem(Problem(result.fetched).About(item.input.Name()));
            for (const std::string& note : result.notes)
                progress.ShowProblem(Problem(note).About(item.input.Name()));
            if (result.problem)
                progress.ShowProblem(result.problem.About(item.input.Name()));
            if (options.json)
                PrintResult(item, result, elapsed);
            progress.ShowResult(Line(item, result.outcome));
        });
    });
    if (files > 1)
        progress.Summary(counts.Summary(files, task.verb));
}

} // namespace

ExitCode RunBatch(const OutputPlan& plan, const BatchOptions& options, const Trace& trace,
                  const BatchTask& task)
{
    NewFolders folders(options.sync);
    if (Problem problem = plan.folder.empty() ? Problem() : folders.Make(plan.folder)) {
        SayProblem(problem);
        return kExitSomeFailed;
    }
    FolderMaker makeFolder;
    if (!plan.folder.empty())
        makeFolder = [&](const std::string& output) { return folders.Make(FolderOf(output)); };
    Counts counts;
    RunAll(plan, options, trace, task, makeFolder, counts);
    if (counts.failed != 0)
        return kExitSomeFailed;
    return counts.damaged != 0 ? kExitDamaged : kExitDone;
}

} // namespace aiff::host
