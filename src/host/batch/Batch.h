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
    bool json = false;
    bool quiet = false;

    IfExists OnExisting() const { return overwrite ? IfExists::Replace : IfExists::Fail; }
};

using FileWork = std::function<FileResult(const OutputPlan::Item&)>;
// Makes the work function of one worker, which takes one file at a time.
using WorkMaker = std::function<FileWork(const ProgressFunction&)>;

// Carries out a plan and shows how it went: problems and a summary on standard error and,
// with --json, a line for each file on standard output. The plan's new folder is made, and
// removed again when nothing was written to it.
//
// verb  what is done to the files, such as "converted"
ExitCode RunBatch(const OutputPlan& plan, const BatchOptions& options, const Trace& trace,
                  const std::string& verb, const WorkMaker& makeWork);

} // namespace aiff::host
