// SPDX-License-Identifier: MIT
#include "host/commands/BatchArguments.h"

#include "host/commands/Command.h"

namespace aiff::host
{
namespace
{

constexpr size_t kMaxJobs = 256;

} // namespace

void AddJobsOption(CommandLine command, size_t& jobs, const std::string& standard)
{
    command
        .AddOption("-j,--jobs", jobs,
                   "Number of files to work on at a time (default: " + standard + ")")
        .Between(1, kMaxJobs);
}

void AddBatchOptions(CommandLine command, BatchOptions& options)
{
    AddJobsOption(command, options.jobs, "one per processor");
    const Option overwrite =
        command.AddFlag("--overwrite", options.overwrite,
                        "Replace existing files (otherwise an existing output is a failure)");
    command
        .AddFlag("--skip-existing", options.skipExisting,
                 "Skip inputs whose output already exists and is whole; this is not a failure. "
                 "An output that is not whole is made again")
        .Excludes(overwrite);
    command.AddFlag("--verify", options.verify,
                    "Read each output back, and keep it only if its sound is what was decoded");
    command.AddFlag("--sync", options.sync,
                    "Count an output as done only when it would survive a loss of power");
    command.AddFlag("--json", options.json,
                    "Write one JSON object per file to standard output, one per line");
    AddQuietOption(command, options.quiet);
}

} // namespace aiff::host
