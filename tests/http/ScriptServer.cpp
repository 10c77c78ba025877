#include "ScriptServer.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace
{

// False when nothing came within a moment.
bool HasInput(int fd)
{
    pollfd one = {fd, POLLIN, 0};
    return poll(&one, 1, 10) > 0;
}

} // namespace

Peer::~Peer()
{
    if (m_fd < 0)
        return;
    // Closing with unread input would reset the connection.
    shutdown(m_fd, SHUT_WR);
    Stall();
    close(m_fd);
}

bool Peer::ReadRequest()
{
    char part[4096];
    while (!m_stop && m_request.find("\r\n\r\n") == std::string::npos) {
        const ssize_t count = HasInput(m_fd) ? recv(m_fd, part, sizeof part, 0) : -1;
        if (count == 0)
            return false;
        m_request.append(part, static_cast<size_t>(std::max<ssize_t>(count, 0)));
    }
    return !m_stop;
}

std::string Peer::Target() const
{
    const size_t begin = m_request.find(' ') + 1;
    return m_request.substr(begin, m_request.find(' ', begin) - begin);
}

std::string Peer::Field(const std::string& name) const
{
    const size_t at = m_request.find("\r\n" + name + ": ");
    if (at == std::string::npos)
        return "";
    const size_t begin = at + name.size() + 4;
    return m_request.substr(begin, m_request.find("\r\n", begin) - begin);
}

Peer& Peer::Send(const Bytes& bytes, size_t piece)
{
    const int on = piece != 0;
    setsockopt(m_fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    size_t sent = 0;
    while (sent < bytes.size() && !m_stop) {
        const size_t size = std::min(piece != 0 ? piece : bytes.size(), bytes.size() - sent);
        const ssize_t count = send(m_fd, &bytes[sent], size, MSG_NOSIGNAL);
        if (count < 0)
            break;
        sent += static_cast<size_t>(count);
    }
    return *this;
}

void Peer::Stall()
{
    char part[4096];
    while (!m_stop)
        if (HasInput(m_fd) && recv(m_fd, part, sizeof part, 0) <= 0)
            return;
}

void Peer::Reset()
{
    const linger abort = {1, 0};
    setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    close(std::exchange(m_fd, -1));
}

ScriptServer::ScriptServer(bool ipv6)
    : m_ipv6(ipv6), m_listener(socket(ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM, 0))
{
    sockaddr_in v4 = {};
    v4.sin_family = AF_INET;
    v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr_in6 v6 = {};
    v6.sin6_family = AF_INET6;
    v6.sin6_addr = in6addr_loopback;
    sockaddr* const address =
        ipv6 ? reinterpret_cast<sockaddr*>(&v6) : reinterpret_cast<sockaddr*>(&v4);
    socklen_t size = ipv6 ? sizeof v6 : sizeof v4;
    if (bind(m_listener, address, size) != 0 || listen(m_listener, 64) != 0 ||
        getsockname(m_listener, address, &size) != 0)
        throw std::runtime_error("cannot listen on loopback");
    m_port = ntohs(ipv6 ? v6.sin6_port : v4.sin_port);
    m_acceptor = std::thread([this] { Accept(); });
}

ScriptServer::~ScriptServer()
{
    m_stop = true;
    m_acceptor.join();
    for (std::thread& thread : m_threads)
        thread.join();
    close(m_listener);
}

std::string ScriptServer::Serve(Handler handler, const std::string& host)
{
    const std::scoped_lock lock(m_mutex);
    m_handlers.push_back(std::move(handler));
    const std::string name = !host.empty() ? host : m_ipv6 ? "[::1]" : "127.0.0.1";
    return "http://" + name + ":" + std::to_string(m_port) + "/" +
           std::to_string(m_handlers.size() - 1) + "/";
}

std::vector<std::string> ScriptServer::Requests() const
{
    const std::scoped_lock lock(m_mutex);
    return m_requests;
}

void ScriptServer::Accept()
{
    while (!m_stop) {
        if (!HasInput(m_listener))
            continue;
        const int fd = accept(m_listener, nullptr, nullptr);
        const std::scoped_lock lock(m_mutex);
        if (fd >= 0)
            m_threads.emplace_back([this, fd] { Talk(fd); });
    }
}

void ScriptServer::Talk(int fd)
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    Peer peer(fd, m_stop);
    if (!peer.ReadRequest())
        return;
    Handler handler;
    {
        const std::scoped_lock lock(m_mutex);
        m_requests.push_back(peer.Request());
        handler = m_handlers.at(std::stoul(peer.Target().substr(1)));
    }
    handler(peer);
}

Handler Ranged(const Bytes& body, std::function<Bytes(size_t)> partial)
{
    return [body, partial](Peer& peer) {
        const std::string range = peer.Field("Range"); // "bytes=N-"
        peer.Send(range.empty() ? Answer("Accept-Ranges: bytes\r\n" + Length(body.size()), body)
                                : partial(std::stoul(range.substr(6))));
    };
}

Handler Ranged(const Bytes& body)
{
    return Ranged(body, [body](size_t first) {
        const Bytes rest(body.begin() + static_cast<ptrdiff_t>(first), body.end());
        return Answer(RangeField(first, body.size() - 1, body.size()) + Length(rest.size()), rest,
                      "HTTP/1.1 206 Partial Content");
    });
}

Bytes InChunks(const Bytes& body, const std::string& lineEnd)
{
    Bytes out;
    size_t size = 1;
    for (size_t at = 0; at < body.size(); size = size * 3 % 30011) {
        const size_t count = std::min(size, body.size() - at);
        char line[32];
        std::snprintf(line, sizeof line, size % 2 != 0 ? "%zX;q=\"v\"" : "000%zx \t", count);
        Append(out, Text(line + lineEnd));
        const auto begin = body.begin() + static_cast<ptrdiff_t>(at);
        out.insert(out.end(), begin, begin + static_cast<ptrdiff_t>(count));
        Append(out, Text(lineEnd));
        at += count;
    }
    return Append(out, Text("0" + lineEnd + "Trailer: x" + lineEnd + lineEnd));
}
