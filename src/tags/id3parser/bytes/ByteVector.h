// SPDX-License-Identifier: MIT

// The byte buffer of a frame body.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace aiff::id3parser
{

// Either owns its bytes or shows those of somebody else, which are copied before they change.
class t_byteVector
{
public:
    // The first byte, or null when the buffer is empty.
    uint8_t* get_ptr() { return get_size() == 0 ? nullptr : Own().data(); }
    const uint8_t* get_ptr() const { return get_size() == 0 ? nullptr : view().data(); }
    size_t get_size() const { return view().size(); }

    // Valid until the buffer changes.
    std::span<const uint8_t> view() const { return m_isOwner ? m_bytes : m_shown; }

    // Shows bytes that must stay where they are for as long as the buffer is not changed.
    void show(std::span<const uint8_t> bytes)
    {
        m_shown = bytes;
        m_isOwner = false;
    }

    void reserve(size_t size) { Own().reserve(size); }
    // Bytes added at the end are zero.
    void set_size(size_t size)
    {
        if (size == 0)
            show({});
        Own().resize(size);
    }

    // `source` must not lie in this buffer; it may be null when `size` is 0.
    void set_data_fromptr(const void* source, size_t size)
    {
        set_size(0);
        append_fromptr(source, size);
    }
    void append_fromptr(const void* source, size_t size)
    {
        const size_t before = get_size();
        set_size(before + size);
        if (size != 0)
            std::memcpy(m_bytes.data() + before, source, size);
    }

    bool operator==(const t_byteVector& other) const
    {
        return std::ranges::equal(view(), other.view());
    }

private:
    std::vector<uint8_t>& Own()
    {
        if (!m_isOwner)
            m_bytes.assign(m_shown.begin(), m_shown.end());
        m_isOwner = true;
        return m_bytes;
    }

    std::vector<uint8_t> m_bytes;
    std::span<const uint8_t> m_shown;
    bool m_isOwner = true;
};

} // namespace aiff::id3parser
