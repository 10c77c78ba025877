// SPDX-License-Identifier: MIT
#include "host/commands/BatchArguments.h"

#include "host/commands/Command.h"

#include <CLI/CLI.hpp>

namespace aiff::host
{
namespace
{

constexpr size_t kMaxJobs = 256;

} // namespace

void AddJobsOption(CLI::App& command, size_t& jobs, const std::string& standard)
{
    command
        .add_option("-j,--jobs", jobs,
                    "Number of files to work on at a time (default: " + standard + ")")
        ->check(CLI::Range(size_t{1}, kMaxJobs));
}

void AddBatchOptions(CLI::App& command, BatchOptions& options)
{
    AddJobsOption(command, options.jobs, "one per processor");
    CLI::Option* overwrite =
        command.add_flag("--overwrite", options.overwrite,
                         "Replace existing files (otherwise an existing output is a failure)");
    command
        .add_flag("--skip-existing", options.skipExisting,
                  "Skip inputs whose output already exists and is whole; this is not a failure. "
                  "An output that is not whole is made again")
        ->excludes(overwrite);
    command.add_flag("--verify", options.verify,
                     "Read each output back, and keep it only if its sound is what was decoded");
    command.add_flag("--sync", options.sync,
                     "Count an output as done only when it would survive a loss of power");
    command.add_flag("--json", options.json,
                     "Write one JSON object per file to standard output, one per line");
    AddQuietOption(command, options.quiet);
}

} // namespace aiff::host
