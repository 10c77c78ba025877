// SPDX-License-Identifier: MIT
#include "support/file/FileAttributes.h"
#include "support/file/SystemError.h"

#include <copyfile.h>
#include <memory>
#include <sys/acl.h>
#include <sys/attr.h>
#include <type_traits>
#include <unistd.h>

namespace aiff
{

namespace
{

// Access control lists and extended attributes.
std::error_code CopyLists(int from, int to)
{
    // A list of the folder's, which fcopyfile would leave beside that of the original.
    const std::unique_ptr<std::remove_pointer_t<acl_t>, int (*)(void*)> none(acl_init(0), acl_free);
    if (none == nullptr || (acl_set_fd(to, none.get()) != 0 && errno != ENOTSUP))
        return LastSystemError();
    if (fcopyfile(from, to, nullptr, COPYFILE_XATTR | COPYFILE_ACL) != 0)
        return LastSystemError();
    return {};
}

// What a file system does not know, a file on it does not have.
bool IsUnknown(int error)
{
    return error == ENOTSUP || error == EINVAL;
}

std::error_code CopyCreationDate(int from, int to)
{
    attrlist wanted = {};
    wanted.bitmapcount = ATTR_BIT_MAP_COUNT;
    wanted.commonattr = ATTR_CMN_CRTIME;
    struct __attribute__((packed, aligned(4))) {
        uint32_t size; // of the answer, this number included
        timespec created;
    } answer = {};
    if (fgetattrlist(from, &wanted, &answer, sizeof answer, 0) != 0)
        return IsUnknown(errno) ? std::error_code() : LastSystemError();
    timespec created = answer.created;
    if (answer.size != sizeof answer || fsetattrlist(to, &wanted, &created, sizeof created, 0) == 0)
        return {};
    return IsUnknown(errno) ? std::error_code() : LastSystemError();
}

// Those that say how the file is stored, such as compressed, do not hold for a copy; one that
// may not be changed is not edited.
std::error_code CopyUserFlags(int from, int to)
{
    constexpr uint32_t kKept = UF_NODUMP | UF_OPAQUE | UF_HIDDEN;
    struct stat original = {};
    struct stat copy = {};
    if (fstat(from, &original) != 0 || fstat(to, &copy) != 0)
        return LastSystemError();
    const uint32_t flags = (copy.st_flags & ~kKept) | (original.st_flags & kKept);
    if (flags == copy.st_flags || fchflags(to, flags) == 0 || IsUnknown(errno))
        return {};
    return LastSystemError();
}

} // namespace

FileState StateOf(const struct stat& status)
{
    const auto nanoseconds = [](const timespec& time) {
        return int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
    };
    return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtimespec),
            nanoseconds(status.st_ctimespec)};
}

std::error_code CopySystemAttributes(int from, int to)
{
    for (const auto copy : {CopyLists, CopyCreationDate, CopyUserFlags})
        if (const auto error = copy(from, to))
            return error;
    return {};
}

} // namespace aiff
