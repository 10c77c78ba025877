// SPDX-License-Identifier: MIT
#include "host/batch/Jobs.h"

#include <algorithm>
#include <atomic>
#include <sys/resource.h>
#include <system_error>
#include <thread>
#include <vector>

namespace aiff::host
{
namespace
{

// What a worker has open at most, with some to spare: two pipes of a report, the input, the
// output, a second descriptor of either, a connection.
constexpr rlim_t kDescriptorsOfWorker = 12;
// What the program itself may have open.
constexpr rlim_t kOtherDescriptors = 32;

} // namespace

size_t WorkerCount(size_t count, size_t asked)
{
    const size_t processors = std::max(1u, std::thread::hardware_concurrency());
    return std::clamp<size_t>(asked == 0 ? processors : asked, 1, std::max<size_t>(count, 1));
}

size_t WithinDescriptorLimit(size_t workers)
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return workers;
    const rlim_t wanted = kOtherDescriptors + workers * kDescriptorsOfWorker;
    if (limit.rlim_cur < wanted) {
        rlimit raised = limit;
        raised.rlim_cur = std::min(wanted, limit.rlim_max);
        if (setrlimit(RLIMIT_NOFILE, &raised) == 0)
            limit = raised;
    }
    const rlim_t left = limit.rlim_cur - std::min(limit.rlim_cur, kOtherDescriptors);
    return std::clamp<size_t>(left / kDescriptorsOfWorker, 1, workers);
}

void RunJobs(size_t count, size_t workers, const std::function<void(size_t, size_t)>& job)
{
    std::atomic<size_t> next{0};
    const auto work = [&](size_t worker) {
        for (size_t i = next++; i < count; i = next++)
            job(i, worker);
    };
    std::vector<std::thread> threads;
    try {
        for (size_t worker = 1; worker < workers; ++worker)
            threads.emplace_back(work, worker);
    } catch (const std::system_error&) {
        // No more threads can be started: those already running do the work.
    }
    work(0);
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace aiff::host
