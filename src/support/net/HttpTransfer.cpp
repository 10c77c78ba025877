#include "support/net/HttpTransfer.h"

namespace
{

// Longer ones are not sent back.
constexpr size_t kMostEntityTag = 1024;

// A tag that stands for the very bytes, not just for their meaning.
bool IsStrong(const std::string& entityTag)
{
    return entityTag.size() <= kMostEntityTag && entityTag.starts_with('"');
}

} // namespace

std::string HttpRequest(const STUrl& url, const STHttpWish& wish)
{
    std::string text = "GET " + url.target + " HTTP/1.1\r\nHost: " + url.HostField() +
                       "\r\nUser-Agent: aiff\r\nAccept: */*\r\nAccept-Encoding: identity\r\n"
                       "Connection: close\r\n";
    if (wish.nFirstByte >= 0) {
        text += "Range: bytes=" + std::to_string(wish.nFirstByte) + "-\r\n";
        // Data that was replaced meanwhile is then sent from its start, which shows.
        if (IsStrong(wish.entityTag))
            text += "If-Range: " + wish.entityTag + "\r\n";
    }
    return text + "\r\n";
}

StreamFault HttpTransfer::Ask(const STUrl& url, const STHttpWish& wish)
{
    StreamFault fault = m_socket.Connect(url.host, url.nPort);
    if (fault == StreamFault::None)
        fault = m_socket.Send(HttpRequest(url, wish));
    if (fault != StreamFault::None)
        return fault;
    m_socket.SetDeadline(TcpSocket::Clock::now() + m_limits.head);
    fault = m_reader.ReadHead(m_head);
    m_socket.SetDeadline({});
    return fault;
}
