// SPDX-License-Identifier: MIT

// write(), pwrite() and ftruncate() without the signals they may raise: SIGPIPE (the reader
// has gone) and SIGXFSZ (the file may not grow) would end the host. Results and errno are
// those of the system calls.
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <sys/types.h>

namespace aiff
{

// Keeps these signals from the thread for as long as the object lives: the calls below need not
// do so themselves then. What they have raised is discarded in any case.
class QuietSignals
{
public:
    QuietSignals() noexcept;
    QuietSignals(const QuietSignals&) = delete;
    QuietSignals& operator=(const QuietSignals&) = delete;
    ~QuietSignals();

    // Discards a signal that was raised meanwhile, unless one was pending before.
    void Discard(int signal) const noexcept;

    // The outermost object of this thread, or null.
    static const QuietSignals* Current() noexcept;

private:
    sigset_t m_before;
    sigset_t m_pendingBefore;
    bool m_isOutermost;
};

ssize_t WriteQuietly(int fd, const void* bytes, size_t size) noexcept;
ssize_t WriteQuietlyAt(int fd, const void* bytes, size_t size, int64_t position) noexcept;
int SetSizeQuietly(int fd, int64_t size) noexcept;

} // namespace aiff
