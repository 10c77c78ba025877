#include "host/batch/Batch.h"

#include "host/base/ExitCode.h"
#include "host/base/Printable.h"
#include "host/base/Problem.h"
#include "host/batch/Interruption.h"
#include "host/batch/Jobs.h"
#include "host/batch/Progress.h"

#include <CLI/CLI.hpp>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

namespace host
{
namespace
{

using Json = nlohmann::ordered_json;

constexpr size_t kMaxJobs = 256;

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

// Lines are written whole and at once: whoever reads the log of a batch that was
// killed finds no half line in it.
void PrintResult(const OutputPlan::Item& item, const FileResult& result, double elapsed)
{
    const bool written = result.frames >= 0;
    const Json line = {{"input", item.input.Name()},
                       {"output", item.output},
                       {"status", StatusName(result.outcome)},
                       {"frames", written ? Json(result.frames) : Json()},
                       {"seconds", written ? Json(result.seconds) : Json()},
                       {"elapsed", elapsed},
                       {"problem", result.problem.empty() ? Json() : Json(result.problem)}};
    const std::string text = line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    static std::mutex access;
    const std::lock_guard lock(access);
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

// `made` tells whether it was this program: of several that are started at once, one
// makes the folder for all.
bool MakeFolder(const std::string& folder, bool& made)
{
    int reason = 0;
    made = Interruption::Undisturbed([&] {
        if (mkdir(folder.c_str(), 0777) != 0) {
            reason = errno;
            return false;
        }
        Interruption::RegisterFolder(folder);
        return true;
    });
    struct stat status;
    if (made || (reason == EEXIST && stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)))
        return true;
    SayProblem("cannot make the folder '" + folder + "': " + std::strerror(reason));
    return false;
}

bool IsFile(const std::string& path)
{
    struct stat status;
    return path != "-" && stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// With --skip-existing an output that another machine finished meanwhile is as good as
// one that was there from the start.
FileResult RunFile(const OutputPlan::Item& item, const FileWork& work, bool skipExisting)
{
    FileResult skipped;
    skipped.outcome = ConvertOutcome::Skipped;
    if (skipExisting && IsFile(item.output))
        return skipped;
    const FileResult result = work(item);
    const bool failed = result.outcome == ConvertOutcome::Failed;
    return failed && skipExisting && IsFile(item.output) ? skipped : result;
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

void RunAll(const OutputPlan& plan, const BatchOptions& options, const Trace& trace,
            const std::string& verb, const WorkMaker& makeWork, Counts& counts)
{
    using Clock = std::chrono::steady_clock;
    const size_t files = plan.items.size();
    // The lines of several files would mix in the trace.
    const size_t workers = WorkerCount(files, trace.IsOn() ? 1 : options.jobs);
    const bool traceOnTerminal = trace.descriptor == STDERR_FILENO;
    Progress progress(Progress::ChooseStyle(options.quiet || options.json, traceOnTerminal), files,
                      workers);
    std::vector<FileWork> works;
    for (size_t worker = 0; worker < workers; ++worker)
        works.push_back(
            makeWork([&progress, worker](Advance advance) { progress.Update(worker, advance); }));
    RunJobs(files, workers, [&](size_t index, size_t worker) {
        const OutputPlan::Item& item = plan.items[index];
        const Clock::time_point start = Clock::now();
        const FileResult result = RunFile(item, works[worker], options.skipExisting);
        counts.Add(result.outcome);
        if (!result.problem.empty())
            progress.ShowProblem(Printable(item.input.Name() + ": " + result.problem));
        if (options.json)
            PrintResult(item, result, std::chrono::duration<double>(Clock::now() - start).count());
        progress.FileDone(worker, Line(item, result.outcome));
    });
    if (files > 1)
        progress.Summary(counts.Summary(files, verb));
}

} // namespace

void AddBatchOptions(CLI::App& command, BatchOptions& options)
{
    command
        .add_option("-j,--jobs", options.jobs,
                    "Files worked on at a time (default: one per "
                    "processor)")
        ->check(CLI::Range(size_t{1}, kMaxJobs));
    CLI::Option* overwrite =
        command.add_flag("--overwrite", options.overwrite,
                         "Replace existing files (else they are kept, which counts as a failure)");
    command
        .add_flag("--skip-existing", options.skipExisting,
                  "Leave out inputs whose output exists; that is no failure")
        ->excludes(overwrite);
    command.add_flag("--json", options.json,
                     "Write one JSON object per file and line to standard output");
    command.add_flag("-q,--quiet", options.quiet, "Show problems only");
}

int RunBatch(const OutputPlan& plan, const BatchOptions& options, const Trace& trace,
             const std::string& verb, const WorkMaker& makeWork)
{
    if (options.json && options.output == "-") {
        SayProblem("--json writes to standard output, which '-o -' takes already");
        return kExitUsage;
    }
    bool madeFolder = false;
    if (!plan.newFolder.empty() && !MakeFolder(plan.newFolder, madeFolder))
        return kExitSomeFailed;
    Counts counts;
    RunAll(plan, options, trace, verb, makeWork, counts);
    if (madeFolder)
        rmdir(plan.newFolder.c_str()); // succeeds when nothing was written
    if (counts.failed != 0)
        return kExitSomeFailed;
    return counts.damaged != 0 ? kExitDamaged : kExitDone;
}

} // namespace host
