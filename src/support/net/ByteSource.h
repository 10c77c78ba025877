// Where the bytes of an answer come from: a connection, or a text in memory.
#pragma once

#include "support/net/StreamFault.h"

#include <cstdint>
#include <span>

// What one read gave. No bytes and no fault: the source has ended.
struct STTaken {
    size_t nBytes = 0;
    StreamFault fault = StreamFault::None;
};

class ByteSource
{
public:
    virtual ~ByteSource() = default;

    // Waits for the next bytes and takes at most as many as `out` holds, at least one
    // unless the source has ended or fails. `out` is not empty.
    [[nodiscard]] virtual STTaken ReadSome(std::span<uint8_t> out) = 0;
};
