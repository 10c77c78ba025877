#undef _FORTIFY_SOURCE // its headers would define pread and others here
#include "SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#if defined(__GLIBC__) && !defined(AIFF_SANITIZED)
#define AIFF_OWN_MALLOC 1
#endif

namespace SystemCalls
{

#ifdef AIFF_OWN_MALLOC
const bool canFailAllocations = true;
#else
const bool canFailAllocations = false; // a sanitizer brings an allocator of its own
#endif

namespace
{

bool isOn = false;
bool isFull = false;
Fault fault = Fault::None;
long struckCall = 0;
long allocations = 0;
Counts counts;

[[noreturn]] void Die()
{
    kill(getpid(), SIGKILL);
    _exit(1);
}

} // namespace

void Start(Fault newFault, long call)
{
    fault = newFault;
    struckCall = call;
    allocations = 0;
    counts = {};
    isFull = false;
    isOn = true;
}

Counts Stop()
{
    isOn = false;
    return counts;
}

// Whether this call is to fail; errno says how.
bool Strikes(const char* name)
{
    if (!isOn)
        return false;
    ++counts.calls;
    if (fault == Fault::None || fault == Fault::ShortReads || fault == Fault::NoMemory ||
        counts.calls < struckCall || (counts.calls > struckCall && fault != Fault::KeepsFailing))
        return false;
    counts.struck = true;
    counts.last = name;
    if (fault == Fault::Kills)
        Die();
    errno = fault == Fault::Interrupts ? EINTR : fault == Fault::DiskFull ? ENOSPC : EIO;
    return fault != Fault::KillsInside;
}

bool StrikesAllocation()
{
    if (!isOn || fault != Fault::NoMemory || ++allocations != struckCall)
        return false;
    counts.struck = true;
    counts.last = "malloc";
    return true;
}

ssize_t Write(int fd, const void* bytes, size_t size, int64_t position)
{
    if (isFull) {
        isFull = false;
        errno = ENOSPC;
        return -1;
    }
    const bool fails = Strikes("pwrite");
    const bool isStruck = isOn && counts.calls == struckCall;
    if (fails && (fault != Fault::DiskFull || size < 2))
        return -1;
    isFull = fails;
    if (isStruck && (fault == Fault::DiskFull || fault == Fault::KillsInside))
        size /= 2;
    const ssize_t done = syscall(SYS_pwrite64, fd, bytes, size, position);
    if (isStruck && fault == Fault::KillsInside)
        Die();
    if (isOn && done > 0) {
        ++counts.writes;
        counts.written += done;
    }
    return done;
}

ssize_t Read(int fd, void* out, size_t size, int64_t position)
{
    if (Strikes("pread"))
        return -1;
    if (!isOn)
        return syscall(SYS_pread64, fd, out, size, position);
    ++counts.reads;
    if (fault == Fault::ShortReads && counts.reads % 2 == 1) {
        errno = EINTR;
        return -1;
    }
    if (fault == Fault::ShortReads)
        size = std::min<size_t>(size, 1 + static_cast<size_t>(counts.reads) % 4099);
    const ssize_t done = syscall(SYS_pread64, fd, out, size, position);
    counts.readBytes += std::max<ssize_t>(done, 0);
    return done;
}

} // namespace SystemCalls

using SystemCalls::Strikes;

#define AIFF_IN_FRONT extern "C" __attribute__((visibility("default")))

AIFF_IN_FRONT ssize_t pwrite(int fd, const void* bytes, size_t size, off_t position)
{
    return SystemCalls::Write(fd, bytes, size, position);
}

AIFF_IN_FRONT ssize_t pread(int fd, void* out, size_t size, off_t position)
{
    return SystemCalls::Read(fd, out, size, position);
}

// The arguments pass on as they are.
#define AIFF_CALL(type, name, number, parameters, ...)                                             \
    AIFF_IN_FRONT type name parameters                                                             \
    {                                                                                              \
        return Strikes(#name) ? -1 : static_cast<type>(syscall(number, __VA_ARGS__));              \
    }

AIFF_CALL(int, ftruncate, SYS_ftruncate, (int fd, off_t size), fd, size)
AIFF_CALL(int, rename, SYS_rename, (const char* from, const char* to), from, to)
AIFF_CALL(int, unlink, SYS_unlink, (const char* path), path)
AIFF_CALL(int, fchmod, SYS_fchmod, (int fd, mode_t mode), fd, mode)
AIFF_CALL(int, fchown, SYS_fchown, (int fd, uid_t user, gid_t group), fd, user, group)
AIFF_CALL(int, fstat, SYS_fstat, (int fd, struct stat* status), fd, status)
AIFF_CALL(int, fsetxattr, SYS_fsetxattr,
          (int fd, const char* name, const void* value, size_t size, int flags), fd, name, value,
          size, flags)
AIFF_CALL(ssize_t, flistxattr, SYS_flistxattr, (int fd, char* list, size_t size), fd, list, size)
AIFF_CALL(ssize_t, fgetxattr, SYS_fgetxattr, (int fd, const char* name, void* value, size_t size),
          fd, name, value, size)
// Under its own name it would hide the record of fcntl.
AIFF_IN_FRONT int LockFile(int fd, int operation) __asm__("flock");
AIFF_CALL(int, LockFile, SYS_flock, (int fd, int operation), fd, operation)
// What reaches the disk and when is not what is tested here.
AIFF_IN_FRONT int fsync(int)
{
    return Strikes("fsync") ? -1 : 0;
}

AIFF_IN_FRONT int open(const char* path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const int mode = (flags & O_CREAT) != 0 ? va_arg(more, int) : 0;
    va_end(more);
    return Strikes("open") ? -1
                           : static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

AIFF_IN_FRONT int __open_2(const char* path, int flags)
{
    return open(path, flags);
}

#ifdef AIFF_OWN_MALLOC
extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);

AIFF_IN_FRONT void* malloc(size_t size)
{
    return SystemCalls::StrikesAllocation() ? nullptr : __libc_malloc(size);
}

AIFF_IN_FRONT void* calloc(size_t count, size_t size)
{
    return SystemCalls::StrikesAllocation() ? nullptr : __libc_calloc(count, size);
}
#endif
