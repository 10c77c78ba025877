// SPDX-License-Identifier: MIT

// The attributes of a file besides its data. One implementation per platform.
#pragma once

#include <cstdint>
#include <sys/stat.h>
#include <system_error>

namespace aiff
{

// Which file it is, and what shows that it was changed.
struct FileState {
    dev_t device = 0;
    ino_t number = 0;
    int64_t size = 0;          // bytes
    int64_t dataTime = 0;      // of the last change of the data, nanoseconds since 1970
    int64_t attributeTime = 0; // of the last change of data or attributes
    bool operator==(const FileState&) const = default;
};

FileState StateOf(const struct stat& status);

// Gives an open file the extended attributes of another, access control lists included, and
// takes away those that it has beyond them; also the date of creation and the user's flags
// where a system lets these be set. Fails when that is not possible.
[[nodiscard]] std::error_code CopySystemAttributes(int from, int to);

} // namespace aiff
