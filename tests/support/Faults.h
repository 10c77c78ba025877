// Faults of the system, brought about by this program's own pread and malloc, which
// the plug-in calls instead of those of the C library. They concern one thread.
#pragma once

#include <cstdint>

namespace Faults
{

// Every read is interrupted once and then delivers a few bytes only.
extern thread_local bool shortReads;
// Calls of pread and bytes that they delivered so far.
extern thread_local long reads, readBytes;

// The allocation, counted from 1, that fails; 0: none. It is counted down, so that a
// value still positive says that it was not reached.
extern thread_local long failAllocation;
// Whether this build can make allocations fail.
extern const bool canFailAllocations;

} // namespace Faults
