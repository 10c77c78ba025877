#include "support/file/FileAttributes.h"
#include "support/file/SystemError.h"

#include <copyfile.h>

namespace aiff
{

FileState StateOf(const struct stat& status)
{
    const auto nanoseconds = [](const timespec& time) {
        return int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
    };
    return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtimespec),
            nanoseconds(status.st_ctimespec)};
}

std::error_code CopyExtendedAttributes(int from, int to)
{
    if (fcopyfile(from, to, nullptr, COPYFILE_XATTR | COPYFILE_ACL) != 0)
        return LastSystemError();
    return {};
}

} // namespace aiff
