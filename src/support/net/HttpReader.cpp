// SPDX-License-Identifier: MIT
#include "support/net/HttpReader.h"

#include "support/text/Ascii.h"

#include <cstring>
#include <limits>
#include <utility>

namespace aiff
{

namespace
{

// Reads of at least this size bypass the buffer when it is empty.
constexpr size_t kDirectBytes = 8192;

// The longest line before a chunk, in bytes: its size and any extensions.
constexpr size_t kMostChunkLine = 65536;

// What may follow the size in that line.
constexpr std::string_view kAfterSize = " \t;\r\n";

} // namespace

// The buffer holds a whole header.
HttpReader::HttpReader(ByteSource& source) : m_source(source), m_buffer(kMostHeadBytes) {}

// Ends the body, normally for None; always returns false.
bool HttpReader::End(StreamFault fault)
{
    m_fault = fault;
    m_hasEnded = true;
    return false;
}

std::string_view HttpReader::BufferedText() const
{
    return {reinterpret_cast<const char*>(m_buffer.data()) + m_begin, Buffered()};
}

// Adds bytes to the buffer, which must not be full. False when there are none; the fault
// is None if the source has simply ended.
bool HttpReader::Fill()
{
    if (m_begin == m_end)
        m_begin = m_end = 0;
    if (m_end == m_buffer.size()) {
        std::memmove(m_buffer.data(), &m_buffer[m_begin], Buffered());
        m_end -= std::exchange(m_begin, 0);
    }
    const Received taken = m_source.ReadSome(std::span(m_buffer).subspan(m_end));
    m_end += taken.count;
    return taken.count != 0 || End(taken.fault);
}

// Fills the buffer until it begins with a whole header, of at most `most` bytes.
StreamFault HttpReader::BufferHead(size_t most, size_t& size)
{
    size_t searched = 0;
    for (;;) {
        const std::string_view bytes = BufferedText();
        size = HeadSize(bytes, searched);
        searched = bytes.size();
        if (size > most || (size == 0 && searched >= most))
            return StreamFault::HeadTooLong;
        if (size != 0)
            return StreamFault::None;
        if (!Fill())
            return m_fault != StreamFault::None ? m_fault : StreamFault::EndedEarly;
    }
}

StreamFault HttpReader::ReadHead(HttpHead& head)
{
    size_t left = kMostHeadBytes;
    do {
        size_t size = 0;
        StreamFault fault = BufferHead(left, size);
        if (fault == StreamFault::None)
            fault = ParseHead(BufferedText().substr(0, size), head);
        if (fault != StreamFault::None)
            return fault;
        m_begin += size;
        left -= size;
    } while (head.IsInterim());
    m_framing = head.isChunked            ? Framing::Chunked
                : head.contentLength >= 0 ? Framing::Counted
                                          : Framing::UntilClose;
    m_left = m_framing == Framing::UntilClose ? std::numeric_limits<int64_t>::max()
                                              : std::max<int64_t>(head.contentLength, 0);
    return StreamFault::None;
}

size_t HttpReader::ReadBody(std::span<uint8_t> out)
{
    size_t done = 0;
    while (done < out.size() && !m_hasEnded) {
        if (m_left == 0 && !BeginPart())
            break;
        const auto left = static_cast<size_t>(std::min<uint64_t>(
            static_cast<uint64_t>(m_left), static_cast<uint64_t>(out.size() - done)));
        const size_t count = TakeBytes(out.subspan(done, left));
        done += count;
        if (m_framing != Framing::UntilClose)
            m_left -= static_cast<int64_t>(count);
        if (count == 0 && m_fault == StreamFault::None && m_framing != Framing::UntilClose)
            End(StreamFault::EndedEarly);
    }
    return done;
}

// Takes bytes of the body, at least one unless the source has none left. `out` must not
// be empty.
size_t HttpReader::TakeBytes(std::span<uint8_t> out)
{
    if (Buffered() == 0 && out.size() >= kDirectBytes) {
        const Received taken = m_source.ReadSome(out);
        if (taken.count == 0)
            End(taken.fault);
        return taken.count;
    }
    if (Buffered() == 0 && !Fill())
        return 0;
    const size_t count = std::min(out.size(), Buffered());
    std::memcpy(out.data(), m_buffer.data() + m_begin, count);
    m_begin += count;
    return count;
}

bool HttpReader::TakeByte(char& byte)
{
    uint8_t taken = 0;
    if (TakeBytes({&taken, 1}) == 0)
        return false;
    byte = static_cast<char>(taken);
    return true;
}

// Steps to the next run of body bytes. False at the end of the body.
bool HttpReader::BeginPart()
{
    if (m_framing == Framing::Counted)
        return End(StreamFault::None);
    if (!BeginChunk())
        return End(m_fault != StreamFault::None ? m_fault : StreamFault::EndedEarly);
    // The empty chunk is the last one. The trailers after it say nothing of
    // interest, and waiting for them could only fail.
    return m_left != 0 || End(StreamFault::None);
}

// Reads the line before a chunk: its size in hexadecimal digits and, after a blank or a
// semicolon, extensions that nobody needs.
bool HttpReader::BeginChunk()
{
    if (m_afterChunk && !ReadChunkEnd())
        return false;
    m_afterChunk = true;
    constexpr int64_t kMostBeforeDigit = (std::numeric_limits<int64_t>::max() - 15) / 16;
    int64_t size = 0;
    size_t used = 0;
    char c = 0;
    for (; TakeByte(c) && HexValue(c) >= 0; ++used) {
        if (size > kMostBeforeDigit || used > kMostChunkLine)
            return End(StreamFault::BadResponse);
        size = size * 16 + HexValue(c);
    }
    if (!m_hasEnded && (used == 0 || kAfterSize.find(c) == std::string_view::npos))
        return End(StreamFault::BadResponse);
    while (!m_hasEnded && c != '\n') {
        const bool mustEnd = c == '\r';
        if (TakeByte(c) && ((mustEnd && c != '\n') || ++used > kMostChunkLine))
            return End(StreamFault::BadResponse);
    }
    m_left = size;
    return !m_hasEnded;
}

// The line end after the data of a chunk.
bool HttpReader::ReadChunkEnd()
{
    char c = 0;
    if (!TakeByte(c) || (c == '\r' && !TakeByte(c)))
        return false;
    return c == '\n' || End(StreamFault::BadResponse);
}

} // namespace aiff
