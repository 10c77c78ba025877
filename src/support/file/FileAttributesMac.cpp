// SPDX-License-Identifier: MIT
#include "support/file/FileAttributes.h"
#include "support/file/SystemError.h"

#include <copyfile.h>
#include <memory>
#include <sys/acl.h>
#include <type_traits>

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
    // A list of the folder's, which fcopyfile would leave beside that of the original.
    const std::unique_ptr<std::remove_pointer_t<acl_t>, int (*)(void*)> none(acl_init(0), acl_free);
    if (none == nullptr || (acl_set_fd(to, none.get()) != 0 && errno != ENOTSUP))
        return LastSystemError();
    if (fcopyfile(from, to, nullptr, COPYFILE_XATTR | COPYFILE_ACL) != 0)
        return LastSystemError();
    return {};
}

} // namespace aiff
