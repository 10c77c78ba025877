#pragma once

#include <cstddef>
#include <functional>

namespace host
{

// Workers for `count` jobs: as many as asked for, one per processor for 0, never
// more than jobs.
size_t WorkerCount(size_t count, size_t asked);

// Runs job(index, worker) for each index below `count` on `workers` threads, one
// job after the other on each; returns when all are done.
void RunJobs(size_t count, size_t workers, const std::function<void(size_t, size_t)>& job);

} // namespace host
