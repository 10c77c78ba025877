// SPDX-License-Identifier: MIT
#include "host/validate/ProcessState.h"

#include <malloc/malloc.h>

namespace aiff::host::validate
{

std::optional<int64_t> HeapInUse()
{
    const struct mstats heap = mstats();
    return heap.bytes_used == 0 ? std::nullopt
                                : std::optional(static_cast<int64_t>(heap.bytes_used));
}

} // namespace aiff::host::validate
