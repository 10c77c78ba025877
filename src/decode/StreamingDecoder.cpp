// SPDX-License-Identifier: MIT
#include "decode/StreamingDecoder.h"

namespace aiff
{

using StdReport::Operation;

bool clsStreamingwavedecoder::Initialize(XFileHTTPStream& stream, const STNStdReport& report,
                                         int64_t rangeStart, int64_t rangeEnd, StreamMode mode)
{
    *this = clsStreamingwavedecoder();
    m_report = report;
    const Operation operation(m_report, "Initialize");
    m_range.rangeStart = rangeStart;
    m_range.rangeEnd = rangeEnd;
    m_stream = &stream;
    m_mode = mode;
    return operation.Succeed();
}

void clsStreamingwavedecoder::Close(const STQvEncoderFluid&)
{
    const Operation operation(m_report, "Close");
    operation.Leave();
}

void clsStreamingwavedecoder::TraceLength(int64_t milliseconds, int64_t bytes) const
{
    StdReport::WriteDEBUGWithPrefix({L""},
                                    {L"Audio Length: ", milliseconds, L" mili-seconds  ", bytes,
                                     L" bytes  ", int64_t{m_common.wfx.BitRate()} / 1000, L" kbps"},
                                    m_report);
}

// An empty range needs no data from the server.
bool clsStreamingwavedecoder::SeekToStart()
{
    if (m_remaining == 0 || AdvanceToStart())
        return true;
    StdReport::WriteERROR({L"Error reading data from file."}, m_report, kPrepare);
    return false;
}

// Goes from the end of the header to the first byte to decode. A short gap is faster to
// read than to request again.
bool clsStreamingwavedecoder::AdvanceToStart()
{
    const int64_t gap = m_position - m_stream->Position();
    if (gap > kBlockBytes && m_stream->IsSeekable() && Seek(m_position))
        return true;
    return Discard(gap);
}

bool clsStreamingwavedecoder::Discard(int64_t bytes)
{
    if (bytes > 0 && !m_decodeBuffer.Reserve(kBlockBytes))
        return false;
    while (bytes > 0) {
        const auto size = static_cast<size_t>(std::min(bytes, kBlockBytes));
        m_stream->StartStep();
        if (ReadStream({m_decodeBuffer.Data(), size}) != size)
            return false;
        bytes -= static_cast<int64_t>(size);
    }
    return bytes == 0;
}

bool clsStreamingwavedecoder::Seek(int64_t position)
{
    return m_stream->SetPosition(position);
}

// Where the length is unknown, the server says where the audio ends.
size_t clsStreamingwavedecoder::ReadSound(std::span<uint8_t> bytes, size_t block)
{
    m_stream->StartStep();
    const size_t count = ReadStream(bytes);
    if (count == block || m_mode == StreamMode::Plain)
        return count == block ? count : 0;
    const int64_t frames = m_common.wfx.BlockAlignBuffer(static_cast<int64_t>(count));
    const auto whole = static_cast<size_t>(frames);
    if (m_lengthUnknown && m_stream->Fault() == StreamFault::None) {
        m_remaining = frames;
        if (whole != count)
            StdReport::WriteINFO({L"Stream ends within a sample frame."}, m_report, "Read");
    }
    return whole;
}

// Reads from the stream and reports, once, why it breaks off.
size_t clsStreamingwavedecoder::ReadStream(std::span<uint8_t> bytes)
{
    const bool wasWhole = m_stream->Fault() == StreamFault::None;
    const size_t count = m_stream->Read(bytes);
    const StreamFault fault = m_stream->Fault();
    if (wasWhole && fault != StreamFault::None)
        StdReport::WriteINFO({L"Stream breaks off: ", TextOf(fault, 0)}, m_report, "Read");
    return count;
}

bool clsStreamingwavedecoder::SetPosition(int64_t frame)
{
    if (m_stream == nullptr || !m_stream->IsSeekable())
        return false;
    m_stream->StartStep();
    return MoveTo(std::max(m_range.PositionOf(frame, m_common.wfx), m_range.dataStart));
}

} // namespace aiff
