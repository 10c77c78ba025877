// SPDX-License-Identifier: MIT

// A memory block with a used size, for data whose size comes from outside: it reports
// when memory runs short instead of throwing.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <utility>

namespace aiff
{

// Owns its bytes; moves, never copies. Bytes never written are zero.
class XMem
{
public:
    XMem() = default;
    XMem(XMem&& other) noexcept
        : m_bytes(std::move(other.m_bytes)), m_capacity(std::exchange(other.m_capacity, 0)),
          m_start(std::exchange(other.m_start, 0)), m_used(std::exchange(other.m_used, 0))
    {
    }
    XMem& operator=(XMem other) noexcept
    {
        std::swap(m_bytes, other.m_bytes);
        std::swap(m_capacity, other.m_capacity);
        std::swap(m_start, other.m_start);
        std::swap(m_used, other.m_used);
        return *this;
    }

    uint8_t* Data() noexcept { return m_bytes.get() + m_start; }
    const uint8_t* Data() const noexcept { return m_bytes.get() + m_start; }
    size_t Used() const noexcept { return m_used; }
    bool Empty() const noexcept { return m_used == 0; }

    // The used bytes; valid until the block grows, is cleared or destroyed.
    std::span<uint8_t> View() noexcept { return {Data(), m_used}; }
    std::span<const uint8_t> View() const noexcept { return {Data(), m_used}; }

    // Makes room for `size` bytes and keeps those in use. False, with
    // nothing changed, when memory is short.
    [[nodiscard]] bool Reserve(size_t size) noexcept
    {
        return size <= m_capacity - m_start || Adopt(std::calloc(size, 1), size);
    }

    // Makes room for `size` bytes that are to be read from a position in a file, and gives
    // up what the block held. The block then starts at the same offset within a page as
    // its source, or up to 63 bytes before that. The system copies fastest that way: to an
    // offset a few bytes above that of the source some processors copy four times slower.
    // False, with nothing changed, when memory is short.
    [[nodiscard]] bool ReserveForRead(size_t size, int64_t position) noexcept
    {
        const size_t room = size + kPageSize;
        if (room > m_capacity && !Adopt(std::calloc(room, 1), room))
            return false;
        const auto line = static_cast<uintptr_t>(position) / kLineSize * kLineSize;
        m_start = (line - reinterpret_cast<uintptr_t>(m_bytes.get())) % kPageSize;
        return true;
    }

    // Sets the used size, within or beyond what is reserved.
    [[nodiscard]] bool SetUsed(size_t size) noexcept
    {
        if (!Reserve(size))
            return false;
        m_used = size;
        return true;
    }

    // Replaces the content with a copy; the block is empty when memory is short.
    [[nodiscard]] bool Assign(std::span<const uint8_t> bytes) noexcept
    {
        Clear();
        if (!SetUsed(bytes.size()))
            return false;
        if (!bytes.empty())
            std::memcpy(Data(), bytes.data(), bytes.size());
        return true;
    }

    // Frees the memory.
    void Clear() noexcept { *this = XMem(); }

private:
    static constexpr size_t kPageSize = 4096;
    static constexpr size_t kLineSize = 64; // of the caches

    // Moves the bytes in use to new memory and owns that; false for null.
    bool Adopt(void* grown, size_t size) noexcept
    {
        if (grown == nullptr)
            return false;
        if (m_used != 0)
            std::memcpy(grown, Data(), m_used);
        m_bytes.reset(static_cast<uint8_t*>(grown));
        m_capacity = size;
        m_start = 0;
        return true;
    }

    struct Free {
        void operator()(uint8_t* bytes) const noexcept { std::free(bytes); }
    };
    std::unique_ptr<uint8_t[], Free> m_bytes;
    size_t m_capacity = 0;
    size_t m_start = 0; // where in the memory the block starts
    size_t m_used = 0;
};

} // namespace aiff
