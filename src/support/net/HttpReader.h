// SPDX-License-Identifier: MIT

// Reads an HTTP response from a source of bytes: its header, then its body without the
// framing.
#pragma once

#include "support/net/ByteSource.h"
#include "support/net/HttpHead.h"

#include <vector>

namespace aiff
{

class HttpReader
{
public:
    // The source must outlive the reader.
    explicit HttpReader(ByteSource& source);

    // Reads the header, passing over interim ones; leaves the source at the body.
    [[nodiscard]] StreamFault ReadHead(HttpHead& head);

    // Reads bytes of the body and returns their number, which is less than asked for only
    // when the body ends or fails. A large read goes straight from the source into `out`.
    [[nodiscard]] size_t ReadBody(std::span<uint8_t> out);

    // Why the body gave less than asked for; None when it ended where it should.
    StreamFault Fault() const { return m_fault; }

private:
    enum class Framing { Counted, Chunked, UntilClose };

    size_t Buffered() const { return m_end - m_begin; }
    std::string_view BufferedText() const;
    bool Fill();
    StreamFault BufferHead(size_t most, size_t& size);
    size_t TakeBytes(std::span<uint8_t> out);
    bool TakeByte(char& byte);
    bool BeginPart();
    bool BeginChunk();
    bool ReadChunkEnd();
    bool End(StreamFault fault);

    ByteSource& m_source;
    std::vector<uint8_t> m_buffer;
    size_t m_begin = 0; // first byte in the buffer that is not used yet
    size_t m_end = 0;
    Framing m_framing = Framing::UntilClose;
    int64_t m_left = 0;        // bytes until the next framing
    bool m_afterChunk = false; // the data of a chunk precedes the next size
    bool m_hasEnded = false;
    StreamFault m_fault = StreamFault::None;
};

} // namespace aiff
