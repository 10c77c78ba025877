// A memory block with a used size, for data whose size comes from outside: it
// says whether memory could be had instead of throwing.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <utility>

// Owns its bytes; moves, never copies. Bytes never written are zero.
class XMem
{
public:
    XMem() = default;
    XMem(XMem&& other) noexcept
        : m_bytes(std::move(other.m_bytes)), m_capacity(std::exchange(other.m_capacity, 0)),
          m_used(std::exchange(other.m_used, 0))
    {
    }
    XMem& operator=(XMem other) noexcept
    {
        std::swap(m_bytes, other.m_bytes);
        std::swap(m_capacity, other.m_capacity);
        std::swap(m_used, other.m_used);
        return *this;
    }

    uint8_t* Data() noexcept { return m_bytes.get(); }
    const uint8_t* Data() const noexcept { return m_bytes.get(); }
    size_t Used() const noexcept { return m_used; }
    bool Empty() const noexcept { return m_used == 0; }

    // The used bytes; valid until the block grows, is cleared or destroyed.
    std::span<uint8_t> View() noexcept { return {Data(), m_used}; }
    std::span<const uint8_t> View() const noexcept { return {Data(), m_used}; }

    // Makes room for `size` bytes and leaves what is used alone. False, with
    // nothing changed, when memory is short.
    [[nodiscard]] bool Reserve(size_t size) noexcept
    {
        if (size <= m_capacity)
            return true;
        void* grown = std::calloc(size, 1);
        if (grown == nullptr)
            return false;
        if (m_used != 0)
            std::memcpy(grown, m_bytes.get(), m_used);
        m_bytes.reset(static_cast<uint8_t*>(grown));
        m_capacity = size;
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
    struct Free {
        void operator()(uint8_t* bytes) const noexcept { std::free(bytes); }
    };
    std::unique_ptr<uint8_t[], Free> m_bytes;
    size_t m_capacity = 0;
    size_t m_used = 0;
};
