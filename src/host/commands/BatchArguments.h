// SPDX-License-Identifier: MIT

// Command-line options of the commands that turn files into files.
#pragma once

#include "host/batch/Batch.h"
#include "host/commands/CommandLine.h"

namespace aiff::host
{

// Adds --jobs.
//
// standard  what `jobs` stands for if the option is not given, for people
void AddJobsOption(CommandLine command, size_t& jobs, const std::string& standard);

// Adds the options to a command. They are stored in `options`, which must outlive the
// parsing.
void AddBatchOptions(CommandLine command, BatchOptions& options);

} // namespace aiff::host
