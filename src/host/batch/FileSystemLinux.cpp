// SPDX-License-Identifier: MIT
#include "host/batch/FileSystem.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace aiff::host
{
namespace
{

// The name by which a link can be made to an open file without privileges.
std::string DescriptorPath(int descriptor)
{
    return "/proc/self/fd/" + std::to_string(descriptor);
}

} // namespace

bool ReserveSpace(int descriptor, int64_t size)
{
    return fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 0, size) == 0 || errno != ENOSPC;
}

int OpenUnnamed(const std::string& folder)
{
    const int descriptor = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666);
    if (descriptor < 0 || access(DescriptorPath(descriptor).c_str(), F_OK) == 0)
        return descriptor;
    close(descriptor); // without /proc it could never be named
    return -1;
}

bool NameUnnamed(int descriptor, const std::string& path)
{
    return linkat(AT_FDCWD, DescriptorPath(descriptor).c_str(), AT_FDCWD, path.c_str(),
                  AT_SYMLINK_FOLLOW) == 0;
}

bool FlushToDisk(int descriptor)
{
    return fsync(descriptor) == 0;
}

} // namespace aiff::host
