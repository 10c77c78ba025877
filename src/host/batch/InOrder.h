// SPDX-License-Identifier: MIT

// Results of jobs that run at the same time, shown in the order of the jobs.
#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

namespace aiff::host
{

// Calls the function of each job once those of all jobs before it have been called, so that
// what they show does not depend on the number of workers.
class InOrder
{
public:
    explicit InOrder(size_t jobs) : m_waiting(jobs) {}

    // The job of this index is done. `show` must not be empty; it may be called by any thread,
    // but only by one at a time.
    void Done(size_t index, std::function<void()> show);

private:
    std::mutex m_access;
    std::vector<std::function<void()>> m_waiting;
    size_t m_next = 0; // the first job whose function has not been called
};

} // namespace aiff::host
