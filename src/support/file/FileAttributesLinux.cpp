// SPDX-License-Identifier: MIT
#include "support/file/FileAttributes.h"
#include "support/file/SystemError.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <sys/xattr.h>
#include <vector>

namespace aiff
{

namespace
{

// The system labels every new file with these, and may not let go of them.
constexpr std::string_view kSecurity = "security.";

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
    // A new file may have those already that cannot be set, such as security labels.
    if (fgetxattr(to, name, present.data(), present.size()) == length &&
        std::equal(value.begin(), value.end(), present.begin()))
        return {};
    return fsetxattr(to, name, value.data(), value.size(), 0) == 0 ? std::error_code()
                                                                   : LastSystemError();
}

// The names of all attributes; none where the file system has no attributes.
std::error_code ListNames(int file, std::vector<std::string>& names)
{
    const ssize_t size = flistxattr(file, nullptr, 0);
    if (size == 0 || (size < 0 && errno == ENOTSUP))
        return {};
    if (size < 0)
        return LastSystemError();
    std::string list(static_cast<size_t>(size), '\0');
    const ssize_t count = flistxattr(file, list.data(), list.size());
    if (count < 0)
        return LastSystemError();
    for (size_t at = 0; at < static_cast<size_t>(count); at += names.back().size() + 1)
        names.emplace_back(list.c_str() + at);
    return {};
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

std::error_code CopySystemAttributes(int from, int to)
{
    std::vector<std::string> wanted;
    std::vector<std::string> present;
    if (const auto error = ListNames(from, wanted))
        return error;
    if (const auto error = ListNames(to, present))
        return error;
    for (const std::string& name : present)
        if (std::ranges::find(wanted, name) == wanted.end() &&
            fremovexattr(to, name.c_str()) != 0 && !name.starts_with(kSecurity))
            return LastSystemError();
    for (const std::string& name : wanted)
        if (const auto error = CopyOne(from, to, name.c_str()))
            return error;
    return {};
}

} // namespace aiff
