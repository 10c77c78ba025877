// SPDX-License-Identifier: MIT

// Builds AIFF and AIFF-C files in memory: sound ones, and ones with a chosen fault.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

inline Bytes& Append(Bytes& out, const Bytes& more)
{
    // gcc 12 at -O3 sees an overflow in a range insert that is not there.
    std::copy(more.begin(), more.end(), std::back_inserter(out));
    return out;
}

inline Bytes Join(std::initializer_list<Bytes> parts)
{
    Bytes out;
    for (const Bytes& part : parts)
        Append(out, part);
    return out;
}

// The bytes of a whole from one place on, or up to one.
inline Bytes From(const Bytes& bytes, size_t first)
{
    return Bytes(bytes.begin() + static_cast<ptrdiff_t>(first), bytes.end());
}
inline Bytes Front(const Bytes& bytes, size_t size)
{
    return Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size));
}

// The low `count` bytes of a value, big-endian.
inline Bytes Big(uint64_t value, int count)
{
    Bytes out;
    for (int i = count - 1; i >= 0; --i)
        out.push_back(static_cast<uint8_t>(value >> (8 * i)));
    return out;
}

inline Bytes Text(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

// A positive number, or zero, as an 80-bit extended one.
inline Bytes Extended(double value)
{
    int power = 0;
    const double fraction = std::frexp(value, &power);
    return Join({Big(value > 0 ? static_cast<uint64_t>(power + 16382) : 0, 2),
                 Big(static_cast<uint64_t>(std::ldexp(fraction, 64)), 8)});
}

// Bytes in which a wrong order or place shows. The same seed gives the same bytes.
inline Bytes Noise(size_t size, uint32_t seed = 1)
{
    Bytes out(size);
    for (uint8_t& byte : out)
        byte = static_cast<uint8_t>((seed = seed * 1664525 + 1013904223) >> 24);
    return out;
}

// Big-endian samples as a host wants them: little-endian, 8 bits unsigned.
inline Bytes HostOrder(Bytes samples, int bits)
{
    const size_t width = static_cast<size_t>(bits) / 8;
    for (size_t i = 0; bits == 8 && i < samples.size(); ++i)
        samples[i] ^= 0x80;
    for (size_t i = 0; i + width <= samples.size(); i += width)
        for (size_t k = 0; k < width / 2; ++k)
            std::swap(samples[i + k], samples[i + width - 1 - k]);
    return samples;
}

class AiffBuilder
{
public:
    explicit AiffBuilder(std::string formType = "AIFF") : m_type(std::move(formType)) {}

    // `size` claims another size than that of the data.
    AiffBuilder& Chunk(const std::string& code, Bytes data, std::optional<uint32_t> size = {},
                       bool pad = true)
    {
        const auto actual = static_cast<uint32_t>(data.size());
        if (pad && data.size() % 2 != 0)
            data.push_back(0);
        m_chunks.push_back({code, std::move(data), size.value_or(actual)});
        return *this;
    }

    // A compression type makes the file an AIFF-C one.
    AiffBuilder& Comm(int channels, int bits, double rate, const std::string& type = "",
                      const std::string& name = "no compression")
    {
        Bytes data = Join({Big(static_cast<uint64_t>(channels), 2), Big(0, 4),
                           Big(static_cast<uint64_t>(bits), 2), Extended(rate)});
        if (!type.empty()) {
            m_type = "AIFC";
            Append(data, Join({Text(type), Big(name.size(), 1), Text(name)}));
        }
        m_frameBytes = static_cast<uint32_t>(channels) * static_cast<uint32_t>(bits) / 8;
        return Chunk("COMM", data);
    }

    // Also writes the number of frames, for readers that trust it, into COMM.
    AiffBuilder& Ssnd(const Bytes& samples, std::optional<uint32_t> size = {})
    {
        Chunk("SSND", Join({Bytes(8), samples}), size);
        for (Entry& chunk : m_chunks)
            if (chunk.code == "COMM" && m_frameBytes > 0) {
                const Bytes frames = Big((m_chunks.back().size - 8) / m_frameBytes, 4);
                std::copy(frames.begin(), frames.end(), chunk.data.begin() + 2);
            }
        return *this;
    }

    AiffBuilder& FormCode(const std::string& code) { return m_code = code, *this; }
    AiffBuilder& FormSize(uint32_t size) { return m_formSize = size, *this; }
    AiffBuilder& Tail(const Bytes& bytes) { return m_tail = bytes, *this; }

    Bytes Build() const
    {
        Bytes body = Text(m_type);
        for (const Entry& chunk : m_chunks)
            Append(body, Join({Text(chunk.code), Big(chunk.size, 4), chunk.data}));
        const uint32_t size = m_formSize.value_or(static_cast<uint32_t>(body.size()));
        return Join({Text(m_code), Big(size, 4), body, m_tail});
    }
    operator Bytes() const { return Build(); }

private:
    struct Entry {
        std::string code;
        Bytes data;
        uint32_t size;
    };

    std::string m_code = "FORM";
    std::string m_type;
    std::optional<uint32_t> m_formSize;
    std::vector<Entry> m_chunks;
    Bytes m_tail;
    uint32_t m_frameBytes = 0;
};
