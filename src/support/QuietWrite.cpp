// SPDX-License-Identifier: MIT
#include "support/QuietWrite.h"

#include <cerrno>
#include <csignal>
#include <pthread.h>
#include <unistd.h>

namespace aiff
{

namespace
{

// Blocks the signals in this thread for as long as the object lives. A signal raised
// meanwhile can be discarded, unless one was pending before.
class BlockedSignals
{
public:
    BlockedSignals() noexcept
    {
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGPIPE);
        sigaddset(&blocked, SIGXFSZ);
        pthread_sigmask(SIG_BLOCK, &blocked, &m_before);
        // A signal that the host does not block cannot have been pending.
        if (sigismember(&m_before, SIGPIPE) == 1 || sigismember(&m_before, SIGXFSZ) == 1)
            sigpending(&m_pendingBefore);
        else
            sigemptyset(&m_pendingBefore);
    }

    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

    void Discard(int signal) const noexcept
    {
        sigset_t pending;
        if (sigismember(&m_pendingBefore, signal) == 1 || sigpending(&pending) != 0 ||
            sigismember(&pending, signal) != 1)
            return;
        sigset_t one;
        sigemptyset(&one);
        sigaddset(&one, signal);
        int taken = 0;
        sigwait(&one, &taken);
    }

    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

private:
    sigset_t m_before;
    sigset_t m_pendingBefore;
};

template <class Call>
auto Quietly(Call&& call) noexcept
{
    const BlockedSignals blocked;
    const auto result = call();
    const int reason = errno;
    if (result < 0 && reason == EPIPE)
        blocked.Discard(SIGPIPE);
    if (result < 0 && reason == EFBIG)
        blocked.Discard(SIGXFSZ);
    errno = reason;
    return result;
}

} // namespace

ssize_t WriteQuietly(int fd, const void* bytes, size_t size) noexcept
{
    return Quietly([=] { return write(fd, bytes, size); });
}

ssize_t WriteQuietlyAt(int fd, const void* bytes, size_t size, int64_t position) noexcept
{
    return Quietly([=] { return pwrite(fd, bytes, size, position); });
}

int SetSizeQuietly(int fd, int64_t size) noexcept
{
    return Quietly([=] { return ftruncate(fd, size); });
}

} // namespace aiff
