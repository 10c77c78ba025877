// SPDX-License-Identifier: MIT

// An HTTP server on loopback that does what each test wants, however improper.
#pragma once

#include "support/AiffBuilder.h"
#include "support/QuietWrite.h"
#include "support/file/FileDescriptor.h"

#include <arpa/inet.h>
#include <atomic>
#include <csignal>
#include <functional>
#include <future>
#include <mutex>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>

// A socket that listens at a free port of loopback; `address` becomes its place.
inline aiff::FileDescriptor Listen(sockaddr_in& address, int queue)
{
    aiff::FileDescriptor socket(::socket(AF_INET, SOCK_STREAM, 0));
    socklen_t size = sizeof address;
    address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket.Get(), any, size) != 0 || listen(socket.Get(), queue) != 0 ||
        getsockname(socket.Get(), any, &size) != 0)
        throw std::runtime_error("cannot listen on loopback");
    return socket;
}

// The byte that a request for a range begins at; -1 when it is for everything.
inline long FirstByteOf(const std::string& request)
{
    const size_t at = request.find("Range: bytes=");
    return at == std::string::npos ? -1 : std::stol(request.substr(at + 13));
}

// One accepted connection and its request.
class Peer
{
public:
    Peer(int fd, const std::atomic<bool>& stop) : m_socket(fd), m_stop(stop)
    {
        const int on = 1; // pieces go out one by one
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        while (request.find("\r\n\r\n") == std::string::npos && Receive())
            ;
    }
    ~Peer()
    {
        shutdown(m_socket.Get(), SHUT_WR); // closing with unread input would reset the connection
        Stall();
    }
    long FirstByte() const { return FirstByteOf(request); }

    // Sends until the client has gone; with `piece` given, in pieces of that size.
    Peer& Send(const Bytes& bytes, size_t piece = SIZE_MAX)
    {
        ssize_t count = 0;
        for (size_t sent = 0; sent < bytes.size() && !m_stop && count >= 0;
             sent += static_cast<size_t>(count))
            count = aiff::WriteQuietly(m_socket.Get(), &bytes[sent],
                                       std::min(piece, bytes.size() - sent));
        return *this;
    }

    // Says nothing until the client has gone or the server stops.
    void Stall()
    {
        while (Receive())
            ;
    }

    // Ends by a reset instead of an orderly close.
    void Reset()
    {
        const linger abort = {1, 0};
        setsockopt(m_socket.Get(), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
        m_socket = aiff::FileDescriptor();
    }

    std::string request;

private:
    bool Receive()
    {
        char part[4096];
        pollfd one = {m_socket.Get(), POLLIN, 0};
        while (!m_stop && one.fd >= 0 && poll(&one, 1, 10) == 0)
            ;
        const ssize_t count = m_stop ? 0 : recv(one.fd, part, sizeof part, 0);
        request.append(part, static_cast<size_t>(std::max<ssize_t>(count, 0)));
        return count > 0;
    }

    aiff::FileDescriptor m_socket;
    const std::atomic<bool>& m_stop;
};

using Handler = std::function<void(Peer&)>;

inline Handler Sends(const Bytes& answer, size_t piece = SIZE_MAX)
{
    return [answer, piece](Peer& peer) { peer.Send(answer, piece); };
}

// Listens on a free port until it is destroyed; every connection has its own thread.
class ScriptServer
{
public:
    ~ScriptServer() { m_stop = true; }

    // The address below which the handler answers from now on.
    std::string Serve(Handler handler, const std::string& host = "127.0.0.1")
    {
        const std::scoped_lock lock(m_mutex);
        m_handlers.push_back(std::move(handler));
        return "http://" + host + ":" + std::to_string(Port()) + "/" +
               std::to_string(m_handlers.size() - 1) + "/";
    }
    std::string Serve(const Bytes& answer, const std::string& host = "127.0.0.1")
    {
        return Serve(Sends(answer), host);
    }
    uint16_t Port() const { return ntohs(m_place.sin_port); }
    std::vector<std::string> Requests() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_requests;
    }

private:
    void Accept()
    {
        sigset_t all; // signals are for the threads that decode
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
        for (pollfd one = {m_listener.Get(), POLLIN, 0}; !m_stop;)
            if (poll(&one, 1, 10) > 0)
                m_talks.push_back(
                    std::async(std::launch::async, [this, fd = accept(one.fd, {}, {})] {
                        Peer peer(fd, m_stop);
                        if (peer.request.ends_with("\r\n\r\n"))
                            HandlerFor(peer)(peer);
                    }));
    }
    Handler HandlerFor(const Peer& peer)
    {
        const std::scoped_lock lock(m_mutex);
        m_requests.push_back(peer.request);
        return m_handlers.at(std::stoul(peer.request.substr(5))); // after "GET /"
    }

    // The threads end before what they use, the acceptor first.
    sockaddr_in m_place;
    const aiff::FileDescriptor m_listener = Listen(m_place, 64);
    std::atomic<bool> m_stop = false;
    mutable std::mutex m_mutex; // guards the next two
    std::vector<Handler> m_handlers;
    std::vector<std::string> m_requests;
    std::vector<std::future<void>> m_talks;
    const std::future<void> m_acceptor = std::async(std::launch::async, [this] { Accept(); });
};

// An answer with these fields, each with its line end.
inline Bytes Answer(const std::string& fields, const Bytes& body,
                    const std::string& status = "200 OK")
{
    return Join({Text("HTTP/1.1 " + status + "\r\n" + fields + "\r\n"), body});
}
inline std::string Length(size_t size)
{
    return "Content-Length: " + std::to_string(size) + "\r\n";
}
inline Bytes Counted(const Bytes& body)
{
    return Answer(Length(body.size()), body);
}

// A part of something that has `total` bytes.
inline Bytes Partial(size_t first, size_t last, size_t total, const Bytes& body,
                     const std::string& fields = "")
{
    return Answer("Content-Range: bytes " + std::to_string(first) + "-" + std::to_string(last) +
                      "/" + std::to_string(total) + "\r\n" + fields,
                  body, "206 Partial Content");
}

// Answers with everything and, when asked for a range, with what `partial` makes of
// its first byte: the rest, unless told otherwise.
inline Handler Ranged(const Bytes& body, std::function<Bytes(size_t first)> partial = {})
{
    return [body, partial](Peer& peer) {
        const size_t size = body.size();
        const auto first = static_cast<size_t>(std::max(peer.FirstByte(), 0L));
        if (peer.FirstByte() < 0)
            peer.Send(Answer("Accept-Ranges: bytes\r\n" + Length(size), body));
        else if (partial)
            peer.Send(partial(first));
        else
            peer.Send(Partial(first, size - 1, size, From(body, first), Length(size - first)));
    };
}

// The bytes as a chunked answer: growing sizes, extensions, a trailer.
inline Bytes Chunked(const Bytes& body, const std::string& fields = "")
{
    Bytes out = Answer(fields + "Transfer-Encoding: chunked\r\n", {});
    size_t size = 1;
    for (size_t at = 0; at < body.size(); at += size, size = size * 3 % 30011) {
        char line[32];
        size = std::min(size, body.size() - at);
        std::snprintf(line, sizeof line, size % 2 != 0 ? "%zX;q=\"v\"\r\n" : "000%zx \n", size);
        Append(out, Join({Text(line), Front(From(body, at), size), Text("\r\n")}));
    }
    return Append(out, Text("0\r\nTrailer: x\r\n\r\n"));
}
