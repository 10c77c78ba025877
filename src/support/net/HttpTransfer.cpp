// SPDX-License-Identifier: MIT
#include "support/net/HttpTransfer.h"

namespace aiff
{

namespace
{

// Longer tags are not sent back, in bytes.
constexpr size_t kMostEntityTag = 1024;

// Strong tags identify the exact bytes; weak ones only their meaning.
bool IsStrong(const std::string& entityTag)
{
    return entityTag.size() <= kMostEntityTag && entityTag.starts_with('"');
}

} // namespace

std::string HttpRequest(const Url& url, const RangeRequest& range)
{
    std::string text = "GET " + url.target + " HTTP/1.1\r\nHost: " + url.HostField() +
                       "\r\nUser-Agent: aiff\r\nAccept: */*\r\nAccept-Encoding: identity\r\n"
                       "Connection: close\r\n";
    if (range.firstByte >= 0) {
        text += "Range: bytes=" + std::to_string(range.firstByte) + "-\r\n";
        // Data that has been replaced meanwhile then comes from its start, which is noticed.
        if (IsStrong(range.entityTag))
            text += "If-Range: " + range.entityTag + "\r\n";
    }
    return text + "\r\n";
}

StreamFault HttpTransfer::Ask(const Url& url, const RangeRequest& range)
{
    StreamFault fault = m_socket.Connect(url.host, url.port);
    if (fault == StreamFault::None)
        fault = m_socket.Send(HttpRequest(url, range));
    return fault == StreamFault::None ? m_reader.ReadHead(m_head) : fault;
}

} // namespace aiff
