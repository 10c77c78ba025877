#include "support/QuietWrite.h"

#include <cerrno>
#include <csignal>
#include <pthread.h>
#include <unistd.h>

namespace
{

// Holds the signals back in this thread for as long as the object lives. One that was
// raised meanwhile can be taken away, unless it was waiting before.
class HeldSignals
{
public:
    HeldSignals() noexcept
    {
        sigset_t held;
        sigemptyset(&held);
        sigaddset(&held, SIGPIPE);
        sigaddset(&held, SIGXFSZ);
        pthread_sigmask(SIG_BLOCK, &held, &m_before);
        // A signal that the host does not hold back cannot have been waiting.
        if (sigismember(&m_before, SIGPIPE) == 1 || sigismember(&m_before, SIGXFSZ) == 1)
            sigpending(&m_waiting);
        else
            sigemptyset(&m_waiting);
    }

    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    void TakeAway(int signal) const noexcept
    {
        sigset_t pending;
        if (sigismember(&m_waiting, signal) == 1 || sigpending(&pending) != 0 ||
            sigismember(&pending, signal) != 1)
            return;
        sigset_t one;
        sigemptyset(&one);
        sigaddset(&one, signal);
        int taken = 0;
        sigwait(&one, &taken);
    }

    ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

private:
    sigset_t m_before;
    sigset_t m_waiting;
};

template <class Call>
auto Quietly(Call&& call) noexcept
{
    const HeldSignals held;
    const auto result = call();
    const int reason = errno;
    if (result < 0 && reason == EPIPE)
        held.TakeAway(SIGPIPE);
    if (result < 0 && reason == EFBIG)
        held.TakeAway(SIGXFSZ);
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
