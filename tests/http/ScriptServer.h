// An HTTP server on loopback that does what each test wants, however improper.
#pragma once

#include "support/AiffBuilder.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

// One accepted connection whose request has been read.
class Peer
{
public:
    Peer(int fd, const std::atomic<bool>& stop) : m_fd(fd), m_stop(stop) {}
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    ~Peer();

    bool ReadRequest();
    const std::string& Request() const { return m_request; }
    std::string Target() const;
    // The value of a request field; empty when it is not there.
    std::string Field(const std::string& name) const;

    // Sends until the client has gone; in pieces that arrive one by one when `piece` is
    // given.
    Peer& Send(const Bytes& bytes, size_t piece = 0);
    Peer& Send(const std::string& text) { return Send(Text(text)); }

    // Says nothing until the client has gone or the server stops.
    void Stall();

    // Ends the connection by a reset instead of an orderly close.
    void Reset();

private:
    int m_fd;
    const std::atomic<bool>& m_stop;
    std::string m_request;
};

using Handler = std::function<void(Peer&)>;

// Listens on a free port until it is destroyed; every connection has its own thread.
class ScriptServer
{
public:
    explicit ScriptServer(bool ipv6 = false);
    ScriptServer(const ScriptServer&) = delete;
    ScriptServer& operator=(const ScriptServer&) = delete;
    ~ScriptServer();

    // The address at which the handler answers from now on, for every path and query
    // below it.
    std::string Serve(Handler handler, const std::string& host = "");
    std::string Serve(const Bytes& answer, const std::string& host = "")
    {
        return Serve([answer](Peer& peer) { peer.Send(answer); }, host);
    }

    uint16_t Port() const { return m_port; }

    // All requests so far.
    std::vector<std::string> Requests() const;

private:
    void Accept();
    void Talk(int fd);

    bool m_ipv6;
    int m_listener;
    uint16_t m_port = 0;
    std::atomic<bool> m_stop = false;
    mutable std::mutex m_mutex; // guards what follows
    std::vector<Handler> m_handlers;
    std::vector<std::string> m_requests;
    std::vector<std::thread> m_threads;
    std::thread m_acceptor;
};

// An answer with this status line and these fields, each with its line end.
inline Bytes Answer(const std::string& fields, const Bytes& body,
                    const std::string& status = "HTTP/1.1 200 OK")
{
    return Join({Text(status + "\r\n" + fields + "\r\n"), body});
}

inline std::string Length(size_t size)
{
    return "Content-Length: " + std::to_string(size) + "\r\n";
}

inline Bytes Counted(const Bytes& body)
{
    return Answer(Length(body.size()), body);
}

inline std::string RangeField(size_t first, size_t last, size_t total)
{
    return "Content-Range: bytes " + std::to_string(first) + "-" + std::to_string(last) + "/" +
           std::to_string(total) + "\r\n";
}

// Answers with everything and, when asked for a range from a byte to the end, with what
// `partial` makes of that byte.
Handler Ranged(const Bytes& body, std::function<Bytes(size_t first)> partial);
Handler Ranged(const Bytes& body);

// The bytes in chunks of growing size, each with an extension, ended by a trailer.
Bytes InChunks(const Bytes& body, const std::string& lineEnd = "\r\n");
