// SPDX-License-Identifier: MIT
#include "support/net/XFileHTTPStream.h"

#include <algorithm>

namespace aiff
{

namespace
{

constexpr int kMostRedirects = 10;

// Whether a partial response holds everything from `first` to the end. `total` is the
// size that the data must have; -1 accepts any.
bool IsRestFrom(const HttpHead& head, int64_t first, int64_t total)
{
    if (head.status != 206 || !head.range.has_value())
        return false;
    const ContentRange& range = *head.range;
    const int64_t end = range.End();
    const bool fitsTotal = total < 0 || end == total;
    const bool fitsOwnTotal = range.total < 0 || range.total == end;
    const bool fitsLength = head.contentLength < 0 || head.contentLength == end - range.first;
    return range.first == first && fitsTotal && fitsOwnTotal && fitsLength;
}

} // namespace

bool XFileHTTPStream::Open(const wchar_t* name)
{
    Close();
    m_openFault.clear();
    if (!IsHttpUrl(name)) {
        if (!m_file.Open(name))
            return false;
        m_fromInternet = false;
        return true;
    }
    int status = 0;
    const StreamFault fault = OpenStream(name, status);
    if (fault != StreamFault::None) {
        Close();
        m_openFault = TextOf(fault, status);
        return false;
    }
    m_fromInternet = true;
    return true;
}

void XFileHTTPStream::Close() noexcept
{
    m_file.Close();
    m_transfer.reset();
    m_size = 0;
    m_servesRanges = false;
    m_position = 0;
}

StreamFault XFileHTTPStream::OpenStream(const wchar_t* name, int& status)
{
    StartStep();
    std::string bytes;
    if (!ToPathBytes(name, bytes))
        return StreamFault::BadName;
    StreamFault fault = ParseUrl(bytes, m_url);
    if (fault == StreamFault::None)
        fault = FollowRedirects(status);
    return fault != StreamFault::None ? fault : Accept(m_transfer->Head());
}

void XFileHTTPStream::StartStep()
{
    m_deadline = TcpSocket::Clock::now() + m_limits.step;
    if (m_transfer != nullptr)
        m_transfer->SetDeadline(m_deadline);
}

std::unique_ptr<HttpTransfer> XFileHTTPStream::NewTransfer() const
{
    return std::make_unique<HttpTransfer>(m_limits, m_deadline);
}

// Asks for the data, and again at the next address for as long as it is redirected.
StreamFault XFileHTTPStream::FollowRedirects(int& status)
{
    for (int redirects = 0; redirects <= kMostRedirects; ++redirects) {
        m_transfer = NewTransfer();
        StreamFault fault = m_transfer->Ask(m_url, {});
        if (fault != StreamFault::None)
            return fault;
        const HttpHead& head = m_transfer->Head();
        status = head.status;
        if (!head.IsRedirect())
            return StreamFault::None;
        if (!head.location.has_value())
            return StreamFault::RedirectWithoutTarget;
        Url target;
        fault = ResolveUrl(m_url, *head.location, target);
        if (fault != StreamFault::None)
            return fault;
        m_url = target;
    }
    return StreamFault::TooManyRedirects;
}

// Takes over what the header says. A server may send the whole as a range of itself.
StreamFault XFileHTTPStream::Accept(const HttpHead& head)
{
    if (!head.HasData())
        return StreamFault::Status;
    if (head.status == 206 && !IsRestFrom(head, 0, -1))
        return StreamFault::WrongRange;
    m_size = std::max<int64_t>(head.contentLength, 0);
    m_servesRanges = head.servesRanges;
    m_entityTag = head.entityTag;
    return StreamFault::None;
}

int64_t XFileHTTPStream::Size() const
{
    return m_fromInternet ? m_size : std::max<int64_t>(m_file.Size(), 0);
}

bool XFileHTTPStream::IsSeekable() const noexcept
{
    return m_fromInternet ? m_servesRanges && m_size > 0 : m_file.IsOpen();
}

size_t XFileHTTPStream::Read(std::span<uint8_t> out)
{
    if (!m_fromInternet)
        return m_file.Read(out);
    if (m_transfer == nullptr)
        return 0;
    const size_t count = m_transfer->ReadBody(out);
    m_position += static_cast<int64_t>(count);
    return count;
}

StreamFault XFileHTTPStream::Fault() const noexcept
{
    return m_transfer != nullptr ? m_transfer->Fault() : StreamFault::None;
}

// The old connection is kept until the new one has proved to deliver what was asked for.
bool XFileHTTPStream::SetPosition(int64_t position)
{
    if (!m_fromInternet)
        return m_file.SetPosition(position);
    if (!IsSeekable() || position < 0 || position > m_size)
        return false;
    if (position == m_position && Fault() == StreamFault::None)
        return true;
    std::unique_ptr<HttpTransfer> transfer;
    if (position != m_size) {
        transfer = NewTransfer();
        if (transfer->Ask(m_url, {position, m_entityTag}) != StreamFault::None)
            return false;
        if (!IsRestFrom(transfer->Head(), position, m_size))
            return false;
    }
    m_transfer = std::move(transfer);
    m_position = position;
    return true;
}

} // namespace aiff
