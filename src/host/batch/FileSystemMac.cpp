// SPDX-License-Identifier: MIT
#include "host/batch/FileSystem.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace aiff::host
{

bool ReserveSpace(int descriptor, int64_t size)
{
    fstore_t store{};
    store.fst_flags = F_ALLOCATEALL;
    store.fst_posmode = F_PEOFPOSMODE;
    store.fst_length = size;
    return fcntl(descriptor, F_PREALLOCATE, &store) == 0 || errno != ENOSPC;
}

int OpenUnnamed(const std::string&)
{
    return -1;
}

bool NameUnnamed(int, const std::string&)
{
    errno = ENOTSUP;
    return false;
}

// There fsync() leaves the bytes in the drive's own memory. Some file systems know nothing
// better.
bool FlushToDisk(int descriptor)
{
    return fcntl(descriptor, F_FULLFSYNC) == 0 || fsync(descriptor) == 0;
}

} // namespace aiff::host
