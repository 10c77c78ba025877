#pragma once

#include "host/base/Trace.h"
#include "host/batch/FileResult.h"
#include "host/batch/OutputPlan.h"
#include "host/batch/Progress.h"

#include <CLI/App.hpp>
#include <functional>
#include <string>

namespace host
{

// What the commands that turn files into files have in common: where the output goes,
// how many work at a time, and how the results are told.
struct BatchOptions {
    std::string output;
    size_t jobs = 0; // 0: one per processor
    bool overwrite = false;
    bool skipExisting = false;
    bool json = false;
    bool quiet = false;
};

// Adds the options to a command; they are stored in `options`, which must outlive the
// parsing.
void AddBatchOptions(CLI::App& command, BatchOptions& options);

using FileWork = std::function<FileResult(const OutputPlan::Item&)>;
// Makes the work of one worker, which does one file after the other.
using WorkMaker = std::function<FileWork(ProgressFunction)>;

// Does all of a plan and tells how it went: problems and a summary on standard error,
// with --json a line for each file on standard output. A new folder of the plan is made,
// and removed again when nothing came into it.
//
// verb  what is done with the files, as "converted"
// returns the exit code
int RunBatch(const OutputPlan& plan, const BatchOptions& options, const Trace& trace,
             const std::string& verb, const WorkMaker& makeWork);

} // namespace host
