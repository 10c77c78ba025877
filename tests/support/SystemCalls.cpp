// SPDX-License-Identifier: MIT
#undef _FORTIFY_SOURCE // its headers would define pread and others here
#include "SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace SystemCalls
{

std::function<void()> meddler;

namespace
{

bool isOn = false;
bool isFull = false;
Fault fault = Fault::None;
long struckCall = 0; // or allocation, or the bytes that there are
long allocations = 0, allocated = 0;
Counts counts;

// Takes note of a fault, and brings about what goes on outside of the call.
bool Strike(const char* name)
{
    counts.struck = true;
    counts.last = name;
    if (fault == Fault::Meddles) {
        isOn = false;
        meddler();
        isOn = true;
    }
    return fault != Fault::Kills || kill(getpid(), SIGKILL) == 0;
}

} // namespace

void Start(Fault newFault, long callOrBytes)
{
    fault = newFault;
    struckCall = callOrBytes;
    allocations = allocated = 0;
    counts = {};
    isFull = false;
    isOn = true;
}

Counts Stop()
{
    isOn = false;
    isFull = false;
    return counts;
}

// Whether this call is to fail; errno says how.
bool Strikes(const char* name)
{
    if (!isOn)
        return false;
    ++counts.calls;
    const bool isStruck =
        counts.calls == struckCall || (counts.calls > struckCall && fault == Fault::KeepsFailing);
    if (fault < Fault::Fails || !isStruck || !Strike(name))
        return false;
    errno = fault == Fault::Interrupts ? EINTR : fault == Fault::DiskFull ? ENOSPC : EIO;
    return fault != Fault::KillsInside && fault != Fault::Meddles;
}

// The result of a call, of which note is taken when it succeeded.
long Noted(long result, Event::Kind kind, int file, int64_t position = 0,
           const void* bytes = nullptr)
{
    const auto* const from = static_cast<const uint8_t*>(bytes);
    if (isOn && fault == Fault::None && result >= 0)
        counts.events.push_back(
            {kind, file, position, {from, from + (bytes != nullptr ? result : 0)}});
    return result;
}

bool StrikesAllocation(size_t size)
{
    if (!isOn || (fault != Fault::NoMemory && fault != Fault::LittleMemory))
        return false;
    const long total = allocated + static_cast<long>(size);
    const bool isOne = fault == Fault::NoMemory && ++allocations == struckCall;
    if (isOne || (fault == Fault::LittleMemory && total > struckCall))
        return Strike("malloc");
    allocated = total;
    return false;
}

} // namespace SystemCalls

using namespace SystemCalls;

#define AIFF_IN_FRONT extern "C" __attribute__((visibility("default")))

AIFF_IN_FRONT ssize_t pwrite(int fd, const void* bytes, size_t size, off_t position)
{
    if (isOn && std::exchange(isFull, false))
        return errno = ENOSPC, -1;
    const bool fails = Strikes("pwrite");
    const bool isStruck = isOn && counts.calls == struckCall;
    // A sector is written whole or not at all.
    const auto start = static_cast<size_t>(position);
    const size_t half = std::max(start, (start + size / 2) / 512 * 512) - start;
    if (isOn)
        isFull = fails && fault == Fault::DiskFull && half > 0;
    if (fails && !isFull)
        return -1;
    const bool isKilled = isStruck && fault == Fault::KillsInside;
    const ssize_t done =
        syscall(SYS_pwrite64, fd, bytes, isFull || isKilled ? half : size, position);
    if (isKilled)
        kill(getpid(), SIGKILL);
    if (isOn)
        counts.written += std::max<ssize_t>(done, 0);
    return Noted(done, Event::Write, fd, position, bytes);
}

AIFF_IN_FRONT ssize_t pread(int fd, void* out, size_t size, off_t position)
{
    if (Strikes("pread"))
        return -1;
    const long reads = isOn ? ++counts.reads : 0;
    if (isOn && fault == Fault::ShortReads) {
        if (reads % 2 == 1)
            return errno = EINTR, -1;
        size = std::min<size_t>(size, 1 + static_cast<size_t>(reads) % 4099);
    }
    const ssize_t done = syscall(SYS_pread64, fd, out, size, position);
    if (isOn)
        counts.readBytes += std::max<ssize_t>(done, 0);
    return done;
}

#define AIFF_CALL(type, name, parameters, ...)                                                     \
    AIFF_IN_FRONT type name parameters                                                             \
    {                                                                                              \
        return Strikes(#name) ? -1 : static_cast<type>(__VA_ARGS__);                               \
    }

AIFF_CALL(int, unlink, (const char* path), syscall(SYS_unlinkat, AT_FDCWD, path, 0))
AIFF_CALL(int, fchmod, (int fd, mode_t mode), syscall(SYS_fchmod, fd, mode))
AIFF_CALL(int, fchown, (int fd, uid_t user, gid_t group), syscall(SYS_fchown, fd, user, group))
AIFF_CALL(int, fstat, (int fd, struct stat* status), syscall(SYS_fstat, fd, status))
AIFF_CALL(int, fsetxattr, (int fd, const char* a, const void* v, size_t n, int how),
          syscall(SYS_fsetxattr, fd, a, v, n, how))
AIFF_CALL(int, fremovexattr, (int fd, const char* a), syscall(SYS_fremovexattr, fd, a))
AIFF_CALL(ssize_t, flistxattr, (int fd, char* list, size_t size),
          syscall(SYS_flistxattr, fd, list, size))
AIFF_CALL(ssize_t, fgetxattr, (int fd, const char* a, void* v, size_t n),
          syscall(SYS_fgetxattr, fd, a, v, n))
// Under its own name it would hide the record of fcntl.
AIFF_IN_FRONT int LockFile(int fd, int operation) __asm__("flock");
AIFF_CALL(int, LockFile, (int fd, int operation), syscall(SYS_flock, fd, operation))
AIFF_CALL(int, ftruncate, (int fd, off_t size),
          Noted(syscall(SYS_ftruncate, fd, size), Event::Size, fd, size))
AIFF_CALL(int, rename, (const char* from, const char* to),
          Noted(syscall(SYS_renameat, AT_FDCWD, from, AT_FDCWD, to), Event::Rename, -1))
// What would reach the disk and when is worked out from the events.
AIFF_CALL(int, fsync, (int fd), Noted(0, Event::Barrier, fd))
AIFF_CALL(int, fdatasync, (int fd), Noted(0, Event::Barrier, fd))

// Closes the file also when it says that it failed.
AIFF_IN_FRONT int close(int fd)
{
    const bool fails = Strikes("close");
    const int error = errno;
    const auto result = static_cast<int>(syscall(SYS_close, fd));
    return fails ? (errno = error, -1) : result;
}

AIFF_IN_FRONT int open(const char* path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const int mode = (flags & O_CREAT) != 0 ? va_arg(more, int) : 0;
    va_end(more);
    const bool fails = Strikes("open");
    return fails ? -1 : static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

AIFF_IN_FRONT int __open_2(const char* path, int flags)
{
    return open(path, flags);
}

#if defined(__GLIBC__) && !defined(AIFF_SANITIZED)
const bool SystemCalls::canFailAllocations = true;

extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);

AIFF_IN_FRONT void* malloc(size_t size)
{
    return StrikesAllocation(size) ? nullptr : __libc_malloc(size);
}

AIFF_IN_FRONT void* calloc(size_t count, size_t size)
{
    return StrikesAllocation(count * size) ? nullptr : __libc_calloc(count, size);
}
#else
const bool SystemCalls::canFailAllocations = false; // a sanitizer brings its own allocator
#endif
