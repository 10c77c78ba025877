// SPDX-License-Identifier: MIT
#include "host/validate/ProcessState.h"

#include <malloc.h>

namespace aiff::host::validate
{

// A sanitizer's allocator gives zeros.
std::optional<int64_t> HeapInUse()
{
    const struct mallinfo2 heap = mallinfo2();
    const size_t bytes = heap.uordblks + heap.hblkhd;
    return bytes == 0 ? std::nullopt : std::optional(static_cast<int64_t>(bytes));
}

} // namespace aiff::host::validate
