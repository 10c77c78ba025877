// SPDX-License-Identifier: MIT
#include "support/net/TcpSocket.h"

#include "support/net/Socket.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <vector>

namespace aiff
{

namespace
{

using Clock = TcpSocket::Clock;
using std::chrono::milliseconds;

// How long to wait for one address before trying the next one as well.
constexpr milliseconds kHeadStart{250};

StreamFault FaultOf(int error)
{
    switch (error) {
    case ECONNREFUSED:
        return StreamFault::Refused;
    case ETIMEDOUT:
        return StreamFault::ConnectTimeout;
    case EMFILE:
    case ENFILE:
    case ENOBUFS:
    case ENOMEM:
        return StreamFault::NoSocket;
    default:
        return StreamFault::Unreachable;
    }
}

// poll() until a moment, at least once; 0 when the time is up.
int PollUntil(std::span<pollfd> polls, Clock::time_point end)
{
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
        const auto timeout = static_cast<int>(std::clamp<int64_t>(left.count(), 0, 1 << 30));
        const int ready = poll(polls.data(), static_cast<nfds_t>(polls.size()), timeout);
        if (ready >= 0 || errno != EINTR)
            return ready;
    }
}

struct FreeAddresses {
    void operator()(addrinfo* list) const noexcept { freeaddrinfo(list); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

Addresses AddressesOf(const std::string& host, uint16_t port)
{
    addrinfo hints = {};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* list = nullptr;
    if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list) != 0)
        return nullptr;
    return Addresses(list);
}

// Connects to several addresses at once; the first connection wins.
class ConnectRace
{
public:
    ConnectRace(const addrinfo* addresses, Clock::time_point end) : m_next(addresses), m_end(end) {}

    StreamFault Run(FileDescriptor& winner)
    {
        m_nextStart = Clock::now();
        while (m_winner.Get() < 0 && (m_next != nullptr || !m_sockets.empty())) {
            if (Clock::now() >= m_end)
                return StreamFault::ConnectTimeout;
            if (m_next != nullptr && (m_sockets.empty() || Clock::now() >= m_nextStart))
                StartNext();
            else
                WaitForOne();
        }
        winner = std::move(m_winner);
        return winner.Get() >= 0 ? StreamFault::None : m_fault;
    }

private:
    void StartNext()
    {
        const addrinfo& address = *std::exchange(m_next, m_next->ai_next);
        FileDescriptor attempt = OpenSocket(address.ai_family);
        int error = attempt.Get() < 0 ? errno : 0;
        if (error == 0 && connect(attempt.Get(), address.ai_addr, address.ai_addrlen) != 0)
            error = errno;
        // An interrupted attempt goes on by itself.
        if (error != 0 && error != EINPROGRESS && error != EINTR) {
            m_fault = FaultOf(error);
            return;
        }
        m_nextStart = Clock::now() + kHeadStart;
        m_polls.push_back({attempt.Get(), POLLOUT, 0});
        m_sockets.push_back(std::move(attempt));
    }

    void WaitForOne()
    {
        if (PollUntil(m_polls, m_next != nullptr ? std::min(m_nextStart, m_end) : m_end) <= 0)
            return;
        for (size_t i = m_sockets.size(); i-- > 0 && m_winner.Get() < 0;)
            if (m_polls[i].revents != 0)
                Settle(i);
    }

    void Settle(size_t index)
    {
        int error = 0;
        socklen_t size = sizeof(error);
        if (getsockopt(m_sockets[index].Get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0)
            error = errno;
        if (error == 0)
            m_winner = std::move(m_sockets[index]);
        else
            m_fault = FaultOf(error);
        m_sockets.erase(m_sockets.begin() + static_cast<std::ptrdiff_t>(index));
        m_polls.erase(m_polls.begin() + static_cast<std::ptrdiff_t>(index));
        m_nextStart = Clock::now(); // no reason to keep the next address waiting
    }

    const addrinfo* m_next;
    Clock::time_point m_end;
    Clock::time_point m_nextStart;
    std::vector<FileDescriptor> m_sockets; // one for each entry of m_polls
    std::vector<pollfd> m_polls;
    FileDescriptor m_winner;
    StreamFault m_fault = StreamFault::Unreachable;
};

} // namespace

StreamFault TcpSocket::Connect(const std::string& host, uint16_t port)
{
    m_socket = FileDescriptor();
    const Addresses addresses = AddressesOf(host, port);
    if (addresses == nullptr)
        return StreamFault::HostNotFound;
    return ConnectRace(addresses.get(), std::min(Clock::now() + m_limits.connect, m_deadline))
        .Run(m_socket);
}

// Waits until the socket is ready.
StreamFault TcpSocket::WaitFor(short events) const
{
    const auto idleEnd = Clock::now() + m_limits.idle;
    pollfd one = {m_socket.Get(), events, 0};
    if (PollUntil({&one, 1}, std::min(idleEnd, m_deadline)) > 0)
        return StreamFault::None;
    return idleEnd < m_deadline ? StreamFault::IdleTimeout : StreamFault::TooSlow;
}

// What follows from an error of the socket; None when the call is to be tried again.
StreamFault TcpSocket::FaultAfter(int error, short events) const
{
    if (error == EINTR)
        return StreamFault::None;
    const bool wouldBlock = error == EAGAIN || error == EWOULDBLOCK;
    return wouldBlock ? WaitFor(events) : StreamFault::ConnectionLost;
}

StreamFault TcpSocket::Send(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = SendQuietly(m_socket.Get(), bytes);
        if (sent >= 0)
            bytes.remove_prefix(static_cast<size_t>(sent));
        else if (const StreamFault fault = FaultAfter(errno, POLLOUT); fault != StreamFault::None)
            return fault;
    }
    return StreamFault::None;
}

Received TcpSocket::ReadSome(std::span<uint8_t> out)
{
    while (Clock::now() < m_deadline) {
        const ssize_t count = recv(m_socket.Get(), out.data(), out.size(), 0);
        if (count >= 0)
            return {static_cast<size_t>(count), StreamFault::None};
        if (const StreamFault fault = FaultAfter(errno, POLLIN); fault != StreamFault::None)
            return {0, fault};
    }
    return {0, StreamFault::TooSlow};
}

} // namespace aiff
