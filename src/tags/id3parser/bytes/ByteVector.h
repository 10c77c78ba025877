// SPDX-License-Identifier: MIT

// The byte buffer of a frame body.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace aiff::id3parser
{

class t_byteVector
{
public:
    // The first byte, or null when the buffer is empty.
    uint8_t* get_ptr() { return m_bytes.empty() ? nullptr : m_bytes.data(); }
    const uint8_t* get_ptr() const { return m_bytes.empty() ? nullptr : m_bytes.data(); }
    size_t get_size() const { return m_bytes.size(); }

    // Valid until the buffer changes.
    std::span<const uint8_t> view() const { return m_bytes; }

    void reserve(size_t size) { m_bytes.reserve(size); }
    // Bytes added at the end are zero.
    void set_size(size_t size) { m_bytes.resize(size); }

    // `source` must not lie in this buffer; it may be null when `size` is 0.
    void set_data_fromptr(const void* source, size_t size)
    {
        const auto* bytes = static_cast<const uint8_t*>(source);
        m_bytes.assign(bytes, bytes + size);
    }
    void append_fromptr(const void* source, size_t size)
    {
        const auto* bytes = static_cast<const uint8_t*>(source);
        m_bytes.insert(m_bytes.end(), bytes, bytes + size);
    }

    bool operator==(const t_byteVector&) const = default;

private:
    std::vector<uint8_t> m_bytes;
};

} // namespace aiff::id3parser
