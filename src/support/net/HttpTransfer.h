// SPDX-License-Identifier: MIT

// A request to a server and the response to it.
#pragma once

#include "support/net/HttpReader.h"
#include "support/net/TcpSocket.h"
#include "support/net/Url.h"

namespace aiff
{

// The part of the data that a request asks for.
struct RangeRequest {
    int64_t firstByte = -1; // everything from this byte on; -1 asks for the whole
    std::string entityTag;  // the data's entity tag when it was first read; may be empty
};

// The text of a request.
std::string HttpRequest(const Url& url, const RangeRequest& range);

// Stays connected from Ask until it is destroyed. Takes about 64 KiB of memory. Everything
// fails with TooSlow that is not done by the deadline.
class HttpTransfer
{
public:
    HttpTransfer(const NetLimits& limits, TcpSocket::Clock::time_point deadline)
        : m_socket(limits, deadline), m_reader(m_socket)
    {
    }
    HttpTransfer(const HttpTransfer&) = delete; // the reader refers to the socket
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    // Connects, sends the request and reads the header of the response, whatever its
    // status. To be called once.
    [[nodiscard]] StreamFault Ask(const Url& url, const RangeRequest& range);

    const HttpHead& Head() const { return m_head; }

    void SetDeadline(TcpSocket::Clock::time_point deadline) { m_socket.SetDeadline(deadline); }

    // Body bytes; see HttpReader.
    [[nodiscard]] size_t ReadBody(std::span<uint8_t> out) { return m_reader.ReadBody(out); }
    StreamFault Fault() const { return m_reader.Fault(); }

private:
    TcpSocket m_socket;
    HttpReader m_reader;
    HttpHead m_head;
};

} // namespace aiff
