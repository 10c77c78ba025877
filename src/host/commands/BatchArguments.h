// Command-line options of the commands that turn files into files.
#pragma once

#include "host/batch/Batch.h"

#include <CLI/App.hpp>

namespace aiff::host
{

// Adds --jobs; 0 stands for one job per processor.
void AddJobsOption(CLI::App& command, size_t& jobs);

// Adds the options to a command. They are stored in `options`, which must outlive the
// parsing.
void AddBatchOptions(CLI::App& command, BatchOptions& options);

} // namespace aiff::host
