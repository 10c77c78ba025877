// A connection to a server.
#pragma once

#include "support/file/FileDescriptor.h"
#include "support/net/ByteSource.h"

#include <chrono>
#include <optional>

namespace aiff
{

// How long to wait for the network.
struct NetLimits {
    std::chrono::milliseconds connect{10000}; // to any address of a host
    std::chrono::milliseconds idle{30000};    // between bytes
    std::chrono::milliseconds head{60000};    // for the whole header of a response
};

// Closes its connection when it is destroyed. No call raises a signal, a call that a signal
// interrupts goes on, and descriptors above FD_SETSIZE work.
class TcpSocket : public ByteSource
{
public:
    using Clock = std::chrono::steady_clock;

    explicit TcpSocket(const NetLimits& limits) : m_limits(limits) {}

    // Connects to the first of the host's addresses that accepts. While one is silent the
    // next ones are tried beside it.
    [[nodiscard]] StreamFault Connect(const std::string& host, uint16_t port);

    // Sends all bytes.
    [[nodiscard]] StreamFault Send(std::string_view bytes);

    [[nodiscard]] Received ReadSome(std::span<uint8_t> out) override;

    // Reads fail once this moment has passed, even while bytes keep coming; none lifts it.
    void SetDeadline(std::optional<Clock::time_point> deadline) { m_deadline = deadline; }

private:
    bool WaitFor(short events) const;

    NetLimits m_limits;
    FileDescriptor m_socket;
    std::optional<Clock::time_point> m_deadline;
};

} // namespace aiff
