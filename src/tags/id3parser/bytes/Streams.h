// SPDX-License-Identifier: MIT

// Byte streams that the codec reads tags from and writes tags to.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace aiff::id3parser
{

class streamIn
{
public:
    // left(): the stream cannot tell.
    static constexpr size_t kUnknown = std::numeric_limits<size_t>::max();

    virtual ~streamIn() = default;

    // Reads or skips up to `size` bytes and returns their number: less than `size`
    // only at the end of the data.
    virtual size_t read(void* buffer, size_t size) = 0;
    virtual size_t skip(size_t size) = 0;

    // The same for exactly `size` bytes: throws parseError when fewer are left.
    virtual size_t readObj(void* buffer, size_t size);
    virtual size_t skipObj(size_t size);

    // The most bytes that read() can still deliver, or kUnknown. A size that a
    // tag claims is held against this before memory is set aside for it.
    virtual size_t left() const { return kUnknown; }
};

// Reads a block of memory, which must outlive the stream.
class streamInMem : public streamIn
{
public:
    streamInMem(const void* data, size_t size)
        : m_data(static_cast<const uint8_t*>(data)), m_size(size)
    {
    }
    explicit streamInMem(std::span<const uint8_t> data) : streamInMem(data.data(), data.size()) {}

    size_t read(void* buffer, size_t size) override;
    size_t skip(size_t size) override;
    size_t left() const override { return m_size - m_position; }

    // What is left, as a view of the block.
    std::span<const uint8_t> rest() const { return {m_data + m_position, left()}; }
    // Moves past the next `size` bytes and returns a view of them; throws parseError
    // when fewer are left.
    std::span<const uint8_t> take(size_t size);

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_position = 0;
};

// Reads at most `limit` bytes of another stream, which it does not own.
class streamLimited : public streamIn
{
public:
    streamLimited(streamIn& inner, size_t limit) : m_inner(inner), m_remaining(limit) {}

    size_t read(void* buffer, size_t size) override;
    size_t skip(size_t size) override;
    size_t left() const override;

private:
    streamIn& m_inner;
    size_t m_remaining;
};

// Undoes unsynchronisation while reading another stream, which it does not own:
// a 0 after 0xFF is dropped. Throws parseError when 0xFF is the last byte or is
// followed by a byte of 0xE0 or above. Reads ahead in the inner stream.
class streamFixSync : public streamIn
{
public:
    explicit streamFixSync(streamIn& inner) : m_inner(inner) {}

    size_t read(void* buffer, size_t size) override;
    size_t skip(size_t size) override;
    size_t left() const override;

private:
    bool read_byte(uint8_t& byte);
    bool NextRaw(uint8_t& byte);

    streamIn& m_inner;
    bool m_havePending = false;
    uint8_t m_pending = 0;
    std::array<uint8_t, 512> m_ahead; // filled up to m_aheadSize
    size_t m_aheadPosition = 0;
    size_t m_aheadSize = 0;
};

class streamOut
{
public:
    virtual ~streamOut() = default;

    // Announces that `size` bytes are going to be written.
    virtual void expect(size_t) {}
    virtual void write(const void* data, size_t size) = 0;
    void writeByte(uint8_t byte) { write(&byte, 1); }
};

// Collects what is written.
class streamOutBuffer : public streamOut
{
public:
    void expect(size_t size) override { bytes.reserve(bytes.size() + size); }
    void write(const void* data, size_t size) override;

    std::vector<uint8_t> bytes;
};

} // namespace aiff::id3parser
