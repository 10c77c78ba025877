// SPDX-License-Identifier: MIT

#include "support/QuietWrite.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace aiff
{

// Here both signals go to the process, where any thread that does not block them gets them. So
// they are kept from being raised.
namespace
{

// How many bytes from a position on the process may write; none, or less, sets errno.
int64_t RoomAt(int64_t position) noexcept
{
    rlimit limit = {};
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur >= INT64_MAX)
        return INT64_MAX;
    const int64_t room = static_cast<int64_t>(limit.rlim_cur) - position;
    if (room <= 0)
        errno = EFBIG;
    return room;
}

// Where the next write() goes; 0 where nothing is limited, as in a pipe.
int64_t NextPosition(int fd) noexcept
{
    struct stat status = {};
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))
        return 0;
    return (fcntl(fd, F_GETFL) & O_APPEND) != 0 ? status.st_size : lseek(fd, 0, SEEK_CUR);
}

// A write of what fits below the limit, as the system itself would make it.
template <class Write>
ssize_t WriteBelowLimit(int64_t position, size_t size, Write&& write) noexcept
{
    const int64_t room = size == 0 ? 0 : RoomAt(position);
    if (room <= 0 && size != 0)
        return -1;
    return write(std::min(size, static_cast<size_t>(room)));
}

} // namespace

// There is nothing to keep from the thread.
QuietSignals::QuietSignals() noexcept = default;
QuietSignals::~QuietSignals() = default;

// The output keeps its setting: another thread may be writing to it.
ssize_t WriteQuietly(int fd, const void* bytes, size_t size) noexcept
{
    fcntl(fd, F_SETNOSIGPIPE, 1);
    return WriteBelowLimit(NextPosition(fd), size,
                           [=](size_t count) { return write(fd, bytes, count); });
}

ssize_t WriteQuietlyAt(int fd, const void* bytes, size_t size, int64_t position) noexcept
{
    return WriteBelowLimit(position, size,
                           [=](size_t count) { return pwrite(fd, bytes, count, position); });
}

// A file that becomes shorter may still exceed the limit.
int SetSizeQuietly(int fd, int64_t size) noexcept
{
    struct stat status = {};
    if (fstat(fd, &status) == 0 && status.st_size < size && RoomAt(size - 1) <= 0)
        return -1;
    return ftruncate(fd, size);
}

} // namespace aiff
