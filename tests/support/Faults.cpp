#undef _FORTIFY_SOURCE // its headers would define pread here
#include "Faults.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sys/syscall.h>
#include <unistd.h>

#if defined(__GLIBC__) && !defined(AIFF_SANITIZED)
#define AIFF_OWN_MALLOC 1
#endif

namespace Faults
{
thread_local bool shortReads = false;
thread_local long reads = 0;
thread_local long failAllocation = 0;
#ifdef AIFF_OWN_MALLOC
const bool canFailAllocations = true;
#else
const bool canFailAllocations = false; // a sanitizer brings an allocator of its own
#endif
} // namespace Faults

#define AIFF_IN_FRONT extern "C" __attribute__((visibility("default")))

AIFF_IN_FRONT ssize_t pread(int fd, void* out, size_t size, off_t position)
{
    ++Faults::reads;
    if (Faults::shortReads && Faults::reads % 2 == 1) {
        errno = EINTR;
        return -1;
    }
    if (Faults::shortReads)
        size = std::min<size_t>(size, 1 + static_cast<size_t>(Faults::reads) % 4099);
    return syscall(SYS_pread64, fd, out, size, position);
}

AIFF_IN_FRONT ssize_t pread64(int fd, void* out, size_t size, off_t position)
{
    return pread(fd, out, size, position);
}

#ifdef AIFF_OWN_MALLOC
extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);

namespace
{
bool Fails()
{
    return Faults::failAllocation > 0 && --Faults::failAllocation == 0;
}
} // namespace

AIFF_IN_FRONT void* malloc(size_t size)
{
    return Fails() ? nullptr : __libc_malloc(size);
}

AIFF_IN_FRONT void* calloc(size_t count, size_t size)
{
    return Fails() ? nullptr : __libc_calloc(count, size);
}
#endif
