// The system calls of an edit, counted, made to fail, or survived by nobody.
#pragma once

#include <cstdint>

namespace SystemCalls
{

enum class Fault {
    None,
    Fails,        // the call does nothing and reports an error
    KeepsFailing, // so do all later calls
    DiskFull,     // a write takes half of its bytes, the next one none; other calls fail
    Interrupts,   // the call does nothing and reports a signal
    NoMemory,     // an allocation fails; these are counted apart from the calls
    Kills,        // the process ends before the call
    KillsInside   // the process ends when half of the bytes are written
};

// Whether this build can make allocations fail.
extern const bool canFailAllocations;

// Calls are counted from 1 and only between Start and Stop.
void Start(Fault fault = Fault::None, long call = 0);

struct Counts {
    long calls = 0;        // all that can fail
    long writes = 0;       // pwrite
    int64_t written = 0;   // bytes
    bool struck = false;   // the fault took place
    const char* last = ""; // name of the call that it struck
};
Counts Stop();

} // namespace SystemCalls
