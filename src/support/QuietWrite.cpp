#include "support/QuietWrite.h"

#include <cerrno>
#include <csignal>
#include <pthread.h>
#include <unistd.h>

namespace
{

// Holds one signal back in this thread for as long as the object lives, and then
// takes away the one that was raised meanwhile, unless it was waiting before.
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

} // namespace

ssize_t WriteQuietly(int fd, const void* bytes, size_t size) noexcept
{
    const HeldSignals held;
    const ssize_t written = write(fd, bytes, size);
    const int reason = errno;
    if (written < 0 && reason == EPIPE)
        held.TakeAway(SIGPIPE);
    if (written < 0 && reason == EFBIG)
        held.TakeAway(SIGXFSZ);
    errno = reason;
    return written;
}
