// SPDX-License-Identifier: MIT

// The system calls of the plug-in, counted, made to fail, or survived by nobody: it calls
// this program's own functions instead of those of the C library.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace SystemCalls
{

enum class Fault {
    None,
    ShortReads,   // every other read is interrupted, the rest deliver a few bytes
    NoMemory,     // an allocation fails; these are counted apart from the calls
    LittleMemory, // so does each that goes beyond a total of so many bytes
    // From here on it is a call that fails.
    Fails,        // it does nothing and reports an error
    KeepsFailing, // so do all later calls
    DiskFull,     // a write takes half of its sectors, the next one none; other calls fail
    Interrupts,   // the call does nothing and reports a signal
    Meddles,      // what `meddler` does happens before the call
    Kills,        // the process ends before the call
    KillsInside   // the process ends when half of the sectors are written
};

// Another program, for Fault::Meddles.
extern std::function<void()> meddler;

// Whether this build can make allocations fail.
extern const bool canFailAllocations;

// Calls and allocations are counted from 1, bytes are those given out, and all that only between
// Start and Stop, which is for one thread at a time.
void Start(Fault fault = Fault::None, long callOrBytes = 0);

// What a call did to an open file: a write of bytes at a position, a new size, a barrier; or
// that a file was renamed.
struct Event {
    enum Kind { Write, Size, Barrier, Rename } kind;
    int file;         // descriptor
    int64_t position; // or size
    std::vector<uint8_t> bytes;
};

struct Counts {
    long calls = 0;            // all that can fail
    int64_t written = 0;       // bytes
    long reads = 0;            // pread
    int64_t readBytes = 0;     // what they delivered
    bool struck = false;       // the fault took place
    const char* last = "";     // name of the call that it struck
    std::vector<Event> events; // without a fault
};
Counts Stop();

} // namespace SystemCalls
