// SPDX-License-Identifier: MIT

// Writing tag blobs: a 32-bit item count, then items of a 32-bit size that counts itself,
// name, value and data. Integers are little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace aiff
{

// Writes into a block of memory, and goes on to measure what it has no room for.
class BlobWriter
{
public:
    BlobWriter(uint8_t* out, size_t room) : m_out(out), m_room(room) {}

    // Of all that was written. The block holds it when that is not more than its room.
    size_t Size() const { return m_size; }

    void Int32(size_t value)
    {
        Int32At(m_size, value);
        m_size += 4;
    }
    void Int32At(size_t at, size_t value)
    {
        for (size_t i = 0; i < 4 && at + i < m_room; ++i)
            m_out[at + i] = static_cast<uint8_t>(value >> 8 * i);
    }
    // Characters above U+FFFF are cut, not paired.
    void Unit(uint32_t character)
    {
        const uint8_t unit[2] = {static_cast<uint8_t>(character),
                                 static_cast<uint8_t>(character >> 8)};
        Bytes(unit, 2);
    }
    void Bytes(const void* bytes, size_t size)
    {
        if (size != 0 && size <= m_room && m_size <= m_room - size)
            std::memcpy(m_out + m_size, bytes, size);
        m_size += size;
    }

private:
    uint8_t* m_out;
    size_t m_room;
    size_t m_size = 0;
};

} // namespace aiff
