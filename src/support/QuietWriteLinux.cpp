// SPDX-License-Identifier: MIT
#include "support/QuietWrite.h"

#include <cerrno>
#include <pthread.h>
#include <unistd.h>

namespace aiff
{

namespace
{

thread_local const QuietSignals* t_outermost = nullptr;

template <class Call>
auto Quietly(Call&& call) noexcept
{
    const QuietSignals own; // or those of a scope around many calls
    const auto result = call();
    const int reason = errno;
    if (result < 0 && reason == EPIPE)
        QuietSignals::Current()->Discard(SIGPIPE);
    if (result < 0 && reason == EFBIG)
        QuietSignals::Current()->Discard(SIGXFSZ);
    errno = reason;
    return result;
}

} // namespace

QuietSignals::QuietSignals() noexcept : m_isOutermost(t_outermost == nullptr)
{
    if (!m_isOutermost)
        return;
    t_outermost = this;
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

QuietSignals::~QuietSignals()
{
    if (!m_isOutermost)
        return;
    t_outermost = nullptr;
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

void QuietSignals::Discard(int signal) const noexcept
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

const QuietSignals* QuietSignals::Current() noexcept
{
    return t_outermost;
}

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
