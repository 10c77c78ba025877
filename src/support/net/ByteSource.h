// SPDX-License-Identifier: MIT

// Where the bytes of a response come from: a connection, or a text in memory.
#pragma once

#include "support/net/StreamFault.h"

#include <cstdint>
#include <span>

namespace aiff
{

// The result of one read. No bytes and no fault mean that the source has ended.
struct Received {
    size_t count = 0;
    StreamFault fault = StreamFault::None;
};

// A source that can only be read forward.
class ByteSource
{
public:
    virtual ~ByteSource() = default;

    // Waits for the next bytes and takes at most as many as `out` holds, at least one
    // unless the source has ended or fails. `out` is not empty.
    [[nodiscard]] virtual Received ReadSome(std::span<uint8_t> out) = 0;
};

} // namespace aiff
