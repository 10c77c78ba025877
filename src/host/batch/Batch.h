// SPDX-License-Identifier: MIT

// Running a command that turns files into files.
#pragma once

#include "host/base/ExitCode.h"
#include "host/base/Trace.h"
#include "host/batch/FileResult.h"
#include "host/batch/OutputFile.h"
#include "host/batch/OutputPlan.h"
#include "host/batch/Progress.h"

#include <functional>
#include <string>

namespace aiff::host
{

// What these commands have in common: where the output goes, how many files are worked on
// at a time, and how results are shown.
struct BatchOptions {
    std::string output; // a file, a folder, or "-" for standard output
    size_t jobs = 0;    // 0: one per processor
    bool overwrite = false;
    bool skipExisting = false;
    bool verify = false; // outputs are read back; up to the work of a task
    bool sync = false;   // outputs are on the disk before they count as done
    bool json = false;
    bool quiet = false;
};

using FileWork = std::function<FileResult(const OutputPlan::Item&, const OutputRules&)>;
// Makes the work function of one worker, which takes one file at a time.
using WorkMaker = std::function<FileWork(const ProgressFunction&)>;

// What a command does to the files of a batch.
struct BatchTask {
    std::string verb; // what is done to them, such as "converted"
    WorkMaker makeWork;
    // Why a file that has the name of an output is not a whole one. From any thread.
    std::function<Problem(const std::string& path)> outputDamage;
};

// Carries out a plan and shows how it went: problems and a summary on standard error and,
// with --json, a line for each file on standard output, all in the order of the plan. The
// plan's new folder is made, and removed again when nothing was written to it.
ExitCode RunBatch(const OutputPlan& plan, const BatchOptions& options, const Trace& trace,
                  const BatchTask& task);

} // namespace aiff::host
