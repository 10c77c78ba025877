#undef _FORTIFY_SOURCE // its headers would define pread here
#include "Faults.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sys/syscall.h>
#include <unistd.h>

#if defined(__GLIBC__) && !defined(AIFF_SANITIZED)
#define AIFF_OWN_MALLOC true
#else
#define AIFF_OWN_MALLOC false // a sanitizer brings an allocator of its own
#endif
#define AIFF_IN_FRONT extern "C" __attribute__((visibility("default")))

namespace Faults
{
thread_local bool shortReads = false;
thread_local long reads = 0, readBytes = 0, failAllocation = 0;
const bool canFailAllocations = AIFF_OWN_MALLOC;
} // namespace Faults

AIFF_IN_FRONT ssize_t pread(int fd, void* out, size_t size, off_t position)
{
    ++Faults::reads;
    if (Faults::shortReads && Faults::reads % 2 == 1) {
        errno = EINTR;
        return -1;
    }
    if (Faults::shortReads)
        size = std::min<size_t>(size, 1 + static_cast<size_t>(Faults::reads) % 4099);
    const ssize_t count = syscall(SYS_pread64, fd, out, size, position);
    Faults::readBytes += std::max<ssize_t>(count, 0);
    return count;
}

AIFF_IN_FRONT ssize_t pread64(int fd, void* out, size_t size, off_t position)
{
    return pread(fd, out, size, position);
}

#if AIFF_OWN_MALLOC
extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);

static bool Fails()
{
    return Faults::failAllocation > 0 && --Faults::failAllocation == 0;
}

AIFF_IN_FRONT void* malloc(size_t size)
{
    return Fails() ? nullptr : __libc_malloc(size);
}

AIFF_IN_FRONT void* calloc(size_t count, size_t size)
{
    return Fails() ? nullptr : __libc_calloc(count, size);
}
#endif
