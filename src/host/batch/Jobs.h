// SPDX-License-Identifier: MIT

// Jobs spread over threads.
#pragma once

#include <cstddef>
#include <functional>

namespace aiff::host
{

// The number of workers for `count` jobs: as many as asked for, or one per processor if
// `asked` is 0, but never more than there are jobs.
size_t WorkerCount(size_t count, size_t asked);

// How many of the workers may work at a time, as each needs descriptors for its files. The
// process's own limit is raised for them as far as the system allows.
size_t WithinDescriptorLimit(size_t workers);

// Runs job(index, worker) for each index below `count`, spread over `workers` threads;
// returns when all are done.
void RunJobs(size_t count, size_t workers, const std::function<void(size_t, size_t)>& job);

} // namespace aiff::host
