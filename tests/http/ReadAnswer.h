// SPDX-License-Identifier: MIT

// Answers of a server from memory, without a network.
#pragma once

#include "support/AiffBuilder.h"
#include "support/net/HttpReader.h"

#include <span>

using namespace aiff;

// Delivers bytes in pieces of at most one size, then ends or fails.
class MemorySource : public ByteSource
{
public:
    MemorySource(std::span<const uint8_t> bytes, size_t piece, StreamFault end)
        : m_left(bytes), m_piece(piece), m_end(end)
    {
    }

    Received ReadSome(std::span<uint8_t> out) override
    {
        const size_t size = std::min({out.size(), m_left.size(), m_piece});
        std::copy_n(m_left.begin(), size, out.begin());
        m_left = m_left.subspan(size);
        return {size, size != 0 ? StreamFault::None : m_end};
    }

private:
    std::span<const uint8_t> m_left;
    size_t m_piece;
    StreamFault m_end;
};

struct ReadResult {
    StreamFault headFault = StreamFault::None, bodyFault = StreamFault::None;
    HttpHead head;
    Bytes body;
    size_t after = 0; // bytes that came after the end of the body
};

// Reads an answer that comes in pieces, in steps of a number of bytes.
inline ReadResult ReadAnswer(std::span<const uint8_t> bytes, size_t piece, size_t step,
                             StreamFault end = StreamFault::None)
{
    MemorySource source(bytes, piece, end);
    HttpReader reader(source);
    ReadResult result;
    result.headFault = reader.ReadHead(result.head);
    if (result.headFault != StreamFault::None)
        return result;
    Bytes part(step);
    for (size_t count = step; count == step;) {
        count = reader.ReadBody(part);
        result.body.insert(result.body.end(), part.data(), part.data() + count);
    }
    result.bodyFault = reader.Fault();
    result.after = reader.ReadBody(part);
    return result;
}
