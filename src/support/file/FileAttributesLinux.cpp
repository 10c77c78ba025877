#include "support/file/FileAttributes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/types.h>
#include <sys/xattr.h>
#include <vector>

bool CopyExtendedAttributes(int from, int to)
{
    const ssize_t size = flistxattr(from, nullptr, 0);
    if (size <= 0)
        return size == 0 || errno == ENOTSUP;
    std::vector<char> names(static_cast<size_t>(size) + 1); // a zero behind the last name
    if (flistxattr(from, names.data(), names.size() - 1) < 0)
        return false;
    for (const char* name = names.data(); *name != '\0'; name += std::strlen(name) + 1) {
        const ssize_t length = fgetxattr(from, name, nullptr, 0);
        if (length < 0)
            return false;
        std::vector<char> value(static_cast<size_t>(length));
        std::vector<char> present(value.size() + 1);
        if (fgetxattr(from, name, value.data(), value.size()) != length)
            return false;
        // A new file gets some from its folder that may not be set, as security labels.
        if (fgetxattr(to, name, present.data(), present.size()) == length &&
            std::equal(value.begin(), value.end(), present.begin()))
            continue;
        if (fsetxattr(to, name, value.data(), value.size(), 0) != 0)
            return false;
    }
    return true;
}
