#include "support/file/FileAttributes.h"
#include "support/file/SystemError.h"

#include <algorithm>
#include <cstring>
#include <sys/types.h>
#include <sys/xattr.h>
#include <vector>

namespace aiff
{

namespace
{

std::error_code CopyOne(int from, int to, const char* name)
{
    const ssize_t length = fgetxattr(from, name, nullptr, 0);
    if (length < 0)
        return LastSystemError();
    std::vector<char> value(static_cast<size_t>(length));
    std::vector<char> present(value.size() + 1);
    const ssize_t count = fgetxattr(from, name, value.data(), value.size());
    if (count != length) // it changed in between
        return count < 0 ? LastSystemError() : make_error_code(std::errc::io_error);
    // A new file inherits some from its directory that may not be set, such as security
    // labels.
    if (fgetxattr(to, name, present.data(), present.size()) == length &&
        std::equal(value.begin(), value.end(), present.begin()))
        return {};
    return fsetxattr(to, name, value.data(), value.size(), 0) == 0 ? std::error_code()
                                                                   : LastSystemError();
}

} // namespace

FileState StateOf(const struct stat& status)
{
    const auto nanoseconds = [](const timespec& time) {
        return int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
    };
    return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
            nanoseconds(status.st_ctim)};
}

std::error_code CopyExtendedAttributes(int from, int to)
{
    const ssize_t size = flistxattr(from, nullptr, 0);
    if (size == 0 || (size < 0 && errno == ENOTSUP))
        return {};
    if (size < 0)
        return LastSystemError();
    std::vector<char> names(static_cast<size_t>(size) + 1); // with a final zero
    if (flistxattr(from, names.data(), names.size() - 1) < 0)
        return LastSystemError();
    for (const char* name = names.data(); *name != '\0'; name += std::strlen(name) + 1)
        if (const auto error = CopyOne(from, to, name))
            return error;
    return {};
}

} // namespace aiff
