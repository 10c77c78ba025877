// Space set aside for a file. One implementation per platform.
#pragma once

#include <cstdint>

namespace aiff::host
{

// Asks the file system to set aside `size` bytes for a file that will be written from its
// start; the size of the file does not change.
//
// returns false, with errno set, only if there is not enough space. That a file system
//         cannot reserve space is not a failure
[[nodiscard]] bool ReserveSpace(int descriptor, int64_t size);

} // namespace aiff::host
