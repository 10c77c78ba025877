// SPDX-License-Identifier: MIT

// A connection to a server.
#pragma once

#include "support/file/FileDescriptor.h"
#include "support/net/ByteSource.h"

#include <chrono>

namespace aiff
{

// How long to wait for the network.
struct NetLimits {
    std::chrono::milliseconds connect{10000}; // to any address of a host
    std::chrono::milliseconds idle{30000};    // between bytes
    std::chrono::milliseconds step{60000};    // for what a host waits for: an open with all its
                                              // redirects, a seek, a block
};

// Closes its connection when it is destroyed. No call raises a signal, a call that a signal
// interrupts goes on, and descriptors above FD_SETSIZE work. After the deadline every call
// fails, even while bytes keep coming. Looking up a name is what POSIX cannot interrupt: it
// takes the time that the system's resolver allows, after which the deadline counts.
class TcpSocket : public ByteSource
{
public:
    using Clock = std::chrono::steady_clock;

    TcpSocket(const NetLimits& limits, Clock::time_point deadline)
        : m_limits(limits), m_deadline(deadline)
    {
    }

    // Connects to the first of the host's addresses that accepts. While one is silent the
    // next ones are tried beside it.
    [[nodiscard]] StreamFault Connect(const std::string& host, uint16_t port);

    // Sends all bytes.
    [[nodiscard]] StreamFault Send(std::string_view bytes);

    [[nodiscard]] Received ReadSome(std::span<uint8_t> out) override;

    void SetDeadline(Clock::time_point deadline) { m_deadline = deadline; }

private:
    StreamFault WaitFor(short events) const;
    StreamFault FaultAfter(int error, short events) const;

    NetLimits m_limits;
    Clock::time_point m_deadline;
    FileDescriptor m_socket;
};

} // namespace aiff
