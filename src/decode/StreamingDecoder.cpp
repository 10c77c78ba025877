#include "decode/StreamingDecoder.h"

#include "decode/DecodeSteps.h"

using StdReport::Operation;

bool clsStreamingwavedecoder::Initialize(XFileHTTPStream& stream, const STNStdReport& report,
                                         int64_t rangeStart, int64_t rangeEnd)
{
    *this = clsStreamingwavedecoder();
    m_report = report;
    const Operation operation(m_report, "Initialize");
    m_range.rangeStart = rangeStart;
    m_range.rangeEnd = rangeEnd;
    m_stream = &stream;
    return operation.Succeed();
}

void clsStreamingwavedecoder::Close(const STQvEncoderFluid&)
{
    const Operation operation(m_report, "Close");
    operation.Succeed();
}

bool clsStreamingwavedecoder::FillAudioInfo(STQvAudioInfo* info)
{
    const Operation operation(m_report, "FillAudioInfo");
    if (!PullOutCOMMnSSND())
        return false;
    const XAudioWFX& wfx = m_common.wfx;
    const int64_t length = m_range.LengthBytes(wfx);
    const int64_t milliseconds = m_lengthUnknown ? 0 : wfx.CalcmsTime(length);
    wfx.CopyBasicTo(&info->WaveFormat);
    info->nLengthBytes = length;
    info->nBitRate = wfx.BitRate();
    info->nLengthMS = milliseconds;
    StdReport::WriteDEBUGWithPrefix({L""},
                                    {L"Audio Length: ", milliseconds, L" mili-seconds  ", length,
                                     L" bytes  ", int64_t{wfx.BitRate()} / 1000, L" kbps"},
                                    m_report);
    return operation.Succeed();
}

bool clsStreamingwavedecoder::PrepareToDecodeAudio(STQvAudioInfo* info)
{
    const Operation operation(m_report, DecodeSteps::kPrepare);
    if (!PullOutCOMMnSSND())
        return false;
    const XAudioWFX& wfx = m_common.wfx;
    if (!DecodeSteps::CheckFormat(wfx, m_report))
        return false;
    m_position = m_range.DecodeFrom(wfx);
    m_remaining = m_range.LengthBytes(wfx);
    // For an empty range nothing needs to be fetched.
    if (m_remaining != 0 && !StandAtPosition()) {
        StdReport::WriteERROR({L"Error reading data from file."}, m_report, DecodeSteps::kPrepare);
        return false;
    }
    wfx.CopyBasicTo(&info->WaveFormat);
    return operation.Succeed();
}

// Brings the stream from the end of the header to the first byte to decode. A short
// way is quicker to read than to ask the server anew.
bool clsStreamingwavedecoder::StandAtPosition()
{
    const int64_t gap = m_position - m_stream->Position();
    if (gap > kBlockBytes && m_stream->IsSeekable() && m_stream->SetPosition(m_position))
        return true;
    return Drop(gap);
}

bool clsStreamingwavedecoder::Drop(int64_t bytes)
{
    if (bytes > 0 && !m_decodeBuffer.Reserve(kBlockBytes))
        return false;
    while (bytes > 0) {
        const auto size = static_cast<size_t>(std::min(bytes, kBlockBytes));
        if (m_stream->Read({m_decodeBuffer.Data(), size}) != size)
            return false;
        bytes -= static_cast<int64_t>(size);
    }
    return bytes == 0;
}

// Reads the next block into the decode buffer. Less than a frame that remains is
// dropped: the buffer then stays as it was.
bool clsStreamingwavedecoder::ReadDataBlock()
{
    const int64_t size = DecodeSteps::NextBlockSize(m_common.wfx, m_remaining);
    if (size == 0)
        return true;
    const auto count = static_cast<size_t>(size);
    if (!m_decodeBuffer.Reserve(count)) {
        StdReport::WriteERROR({L"Error allocating decoding buffer."}, m_report,
                              DecodeSteps::kReadDataBlock);
        return false;
    }
    if (m_stream->Read({m_decodeBuffer.Data(), count}) != count) {
        StdReport::WriteERROR({L"Error reading data from file."}, m_report,
                              DecodeSteps::kReadDataBlock);
        return false;
    }
    (void)m_decodeBuffer.SetUsed(count); // reserved above
    m_remaining -= size;
    m_position += size;
    return true;
}

bool clsStreamingwavedecoder::DecodeBlock(STQvAudioBlock* block)
{
    const XAudioWFX& wfx = m_common.wfx;
    block->nPositionMS =
        m_lengthUnknown ? 0
                        : wfx.CalcmsTime(SubtractSaturated(m_position, m_range.DecodeFrom(wfx)));
    if (m_remaining == 0) {
        block->nLastBlock = 1;
        return true;
    }
    if (!ReadDataBlock())
        return false;
    DecodeSteps::FillBlock(m_decodeBuffer, wfx, m_common.littleEndian, block);
    block->nLastBlock = m_remaining == 0 ? 1 : 0;
    return true;
}

bool clsStreamingwavedecoder::SetPosition(int64_t frame)
{
    if (m_stream == nullptr || !m_stream->IsSeekable())
        return false;
    const XAudioWFX& wfx = m_common.wfx;
    const int64_t position = std::max(m_range.PositionOf(frame, wfx), m_range.dataStart);
    if (!m_stream->SetPosition(position)) {
        StdReport::WriteERROR({L"Error SetPosition returned false."}, m_report,
                              DecodeSteps::kSetPosition);
        return false;
    }
    m_position = position;
    m_remaining = m_range.DecodeTo(wfx) - position;
    return true;
}
