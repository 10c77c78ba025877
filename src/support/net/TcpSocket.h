// One connection to a server.
#pragma once

#include "support/file/FileDescriptor.h"
#include "support/net/ByteSource.h"

#include <chrono>
#include <optional>

// How long the network may keep us waiting.
struct STNetLimits {
    std::chrono::milliseconds connect{10000}; // to any address of a host
    std::chrono::milliseconds idle{30000};    // without a byte
    std::chrono::milliseconds head{60000};    // for the whole header of an answer
};

// Closes its connection when it is destroyed. No call raises a signal, and signals
// that interrupt a call are no failures. Works for descriptors of any number.
class TcpSocket : public ByteSource
{
public:
    using Clock = std::chrono::steady_clock;

    explicit TcpSocket(const STNetLimits& limits) : m_limits(limits) {}

    // Connects to the first address of the host that answers. An address that stays
    // silent for a moment is joined by the next one.
    [[nodiscard]] StreamFault Connect(const std::string& host, uint16_t port);

    // Sends all bytes.
    [[nodiscard]] StreamFault Send(std::string_view bytes);

    [[nodiscard]] STTaken ReadSome(std::span<uint8_t> out) override;

    // Reads fail once this moment has passed, however lively the server is.
    void SetDeadline(std::optional<Clock::time_point> deadline) { m_deadline = deadline; }

private:
    bool WaitFor(short events) const;

    STNetLimits m_limits;
    FileDescriptor m_socket;
    std::optional<Clock::time_point> m_deadline;
};
