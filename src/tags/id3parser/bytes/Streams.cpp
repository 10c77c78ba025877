// SPDX-License-Identifier: MIT
#include "tags/id3parser/bytes/Streams.h"

#include "tags/id3parser/bytes/Errors.h"

#include <algorithm>
#include <cstring>

namespace aiff::id3parser
{

size_t streamIn::readObj(void* buffer, size_t size)
{
    if (read(buffer, size) != size)
        throw parseError();
    return size;
}

size_t streamIn::skipObj(size_t size)
{
    if (skip(size) != size)
        throw parseError();
    return size;
}

size_t streamInMem::read(void* buffer, size_t size)
{
    const size_t count = std::min(size, m_size - m_position);
    if (count != 0)
        std::memcpy(buffer, m_data + m_position, count);
    m_position += count;
    return count;
}

size_t streamInMem::skip(size_t size)
{
    const size_t count = std::min(size, m_size - m_position);
    m_position += count;
    return count;
}

std::span<const uint8_t> streamInMem::take(size_t size)
{
    if (size > left())
        throw parseError();
    const auto bytes = rest().first(size);
    m_position += size;
    return bytes;
}

size_t streamLimited::read(void* buffer, size_t size)
{
    const size_t count = m_inner.read(buffer, std::min(size, m_remaining));
    m_remaining -= count;
    return count;
}

size_t streamLimited::skip(size_t size)
{
    const size_t count = m_inner.skip(std::min(size, m_remaining));
    m_remaining -= count;
    return count;
}

size_t streamLimited::left() const
{
    const size_t inner = m_inner.left();
    return inner == kUnknown ? kUnknown : std::min(inner, m_remaining);
}

bool streamFixSync::NextRaw(uint8_t& byte)
{
    if (m_aheadPosition == m_aheadSize) {
        m_aheadSize = m_inner.read(m_ahead.data(), m_ahead.size());
        m_aheadPosition = 0;
        if (m_aheadSize == 0)
            return false;
    }
    byte = m_ahead[m_aheadPosition++];
    return true;
}

bool streamFixSync::read_byte(uint8_t& byte)
{
    if (m_havePending) {
        m_havePending = false;
        byte = m_pending;
        return true;
    }
    if (!NextRaw(byte))
        return false;
    if (byte == 0xFF) {
        uint8_t next = 0;
        if (!NextRaw(next) || next >= 0xE0)
            throw parseError();
        m_havePending = next != 0;
        m_pending = next;
    }
    return true;
}

size_t streamFixSync::read(void* buffer, size_t size)
{
    auto* bytes = static_cast<uint8_t*>(buffer);
    size_t count = 0;
    while (count < size && read_byte(bytes[count]))
        ++count;
    return count;
}

size_t streamFixSync::skip(size_t size)
{
    size_t count = 0;
    uint8_t ignored = 0;
    while (count < size && read_byte(ignored))
        ++count;
    return count;
}

size_t streamFixSync::left() const
{
    const size_t inner = m_inner.left();
    if (inner == kUnknown)
        return kUnknown;
    return inner + (m_aheadSize - m_aheadPosition) + (m_havePending ? 1 : 0);
}

void streamOutBuffer::write(const void* data, size_t size)
{
    const auto* source = static_cast<const uint8_t*>(data);
    bytes.insert(bytes.end(), source, source + size);
}

} // namespace aiff::id3parser
