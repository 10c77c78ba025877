// SPDX-License-Identifier: MIT

// What outputs ask of the file system. One implementation per platform.
#pragma once

#include <cstdint>
#include <string>

namespace aiff::host
{

// Asks the file system to set aside `size` bytes for a file that will be written from its
// start; the size of the file does not change.
//
// returns false, with errno set, only if there is not enough space. That a file system
//         cannot reserve space is not a failure
[[nodiscard]] bool ReserveSpace(int descriptor, int64_t size);

// Opens a file without a name in `folder`, for reading and writing. The system removes it
// when the last descriptor is closed, however the program ends, unless it has been named.
//
// returns a descriptor that the caller closes, or -1 where files need names
[[nodiscard]] int OpenUnnamed(const std::string& folder);

// Gives the name to a file of OpenUnnamed(). False, with errno set, when it is taken
// (EEXIST) or for another reason.
[[nodiscard]] bool NameUnnamed(int descriptor, const std::string& path);

// Returns when the contents of a file or folder will survive a loss of power; false, with
// errno set, when they may not.
[[nodiscard]] bool FlushToDisk(int descriptor);

} // namespace aiff::host
