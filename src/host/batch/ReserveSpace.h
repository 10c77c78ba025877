#pragma once

#include <cstdint>

namespace host
{

// Asks the file system for `size` bytes for a file that is going to be written
// from its start; the size of the file stays as it is.
//
// returns false, with errno set, only when there is not enough room. A file system
//         that cannot reserve is no failure
[[nodiscard]] bool ReserveSpace(int descriptor, int64_t size);

} // namespace host
