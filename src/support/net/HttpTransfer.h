// One request to a server and its answer.
#pragma once

#include "support/net/HttpReader.h"
#include "support/net/TcpSocket.h"
#include "support/net/Url.h"

// Which part of the data is asked for.
struct STHttpWish {
    int64_t nFirstByte = -1; // from here to the end; -1 asks for everything
    std::string entityTag;   // what the data was known by; empty when it was not
};

// The text of a request.
std::string HttpRequest(const STUrl& url, const STHttpWish& wish);

// Connected from Ask until its end. Holds about 64 KiB.
class HttpTransfer
{
public:
    explicit HttpTransfer(const STNetLimits& limits)
        : m_limits(limits), m_socket(limits), m_reader(m_socket)
    {
    }
    HttpTransfer(const HttpTransfer&) = delete; // the reader looks at the socket
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    // Connects, sends the request and reads the header of the answer, whatever its
    // status. Once per transfer.
    [[nodiscard]] StreamFault Ask(const STUrl& url, const STHttpWish& wish);

    const STHttpHead& Head() const { return m_head; }

    // Body bytes; see HttpReader.
    [[nodiscard]] size_t ReadBody(std::span<uint8_t> out) { return m_reader.ReadBody(out); }
    StreamFault Fault() const { return m_reader.Fault(); }

private:
    STNetLimits m_limits;
    TcpSocket m_socket;
    HttpReader m_reader;
    STHttpHead m_head;
};
