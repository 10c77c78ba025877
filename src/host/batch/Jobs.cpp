#include "host/batch/Jobs.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace aiff::host
{

size_t WorkerCount(size_t count, size_t asked)
{
    const size_t processors = std::max(1u, std::thread::hardware_concurrency());
    return std::clamp<size_t>(asked == 0 ? processors : asked, 1, std::max<size_t>(count, 1));
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
