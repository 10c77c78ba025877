// SPDX-License-Identifier: MIT

// The fields of a chunk, one after the other.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace aiff::host
{

// Numbers and texts from the data of a chunk. Past its end there are zeros and empty texts.
class Fields
{
public:
    Fields(std::span<const uint8_t> bytes, std::endian order) : m_left(bytes), m_order(order) {}

    size_t Left() const { return m_left.size(); }

    std::span<const uint8_t> Take(size_t size)
    {
        const auto taken = m_left.first(std::min(size, m_left.size()));
        m_left = m_left.subspan(taken.size());
        return taken;
    }

    uint32_t Number(size_t size)
    {
        const auto bytes = Take(size);
        uint32_t number = 0;
        for (size_t i = 0; i < bytes.size(); ++i)
            number = number << 8 | bytes[m_order == std::endian::big ? i : bytes.size() - 1 - i];
        return number;
    }

private:
    std::span<const uint8_t> m_left;
    std::endian m_order;
};

// The data of a chunk to be written.
class FieldWriter
{
public:
    explicit FieldWriter(std::endian order) : m_order(order) {}

    void Number(uint32_t value, size_t size)
    {
        for (size_t i = 0; i < size; ++i) {
            const size_t byte = m_order == std::endian::big ? size - 1 - i : i;
            m_bytes.push_back(static_cast<uint8_t>(value >> (8 * byte)));
        }
    }
    void Bytes(std::span<const uint8_t> bytes)
    {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    }
    void Text(std::string_view text)
    {
        Bytes({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    }
    void PadToEven()
    {
        if (m_bytes.size() % 2 != 0)
            m_bytes.push_back(0);
    }
    const std::vector<uint8_t>& Data() const { return m_bytes; }

private:
    std::vector<uint8_t> m_bytes;
    std::endian m_order;
};

} // namespace aiff::host
