// SPDX-License-Identifier: MIT
#include "decode/SoundDecoder.h"

#include "aiff/AIFFHandler.h"

namespace aiff
{

using StdReport::Operation;

bool SoundDecoder::FillAudioInfo(STQvAudioInfo* info)
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
    TraceLength(milliseconds, length);
    return operation.Succeed();
}

bool SoundDecoder::PrepareToDecodeAudio(STQvAudioInfo* info)
{
    const Operation operation(m_report, kPrepare);
    if (!PullOutCOMMnSSND() || !CheckFormat())
        return false;
    m_position = m_range.DecodeFrom(m_common.wfx);
    m_remaining = m_range.LengthBytes(m_common.wfx);
    DropAhead();
    if (!SeekToStart())
        return false;
    m_common.wfx.CopyBasicTo(&info->WaveFormat);
    return operation.Succeed();
}

// Traces the format and accepts only PCM.
bool SoundDecoder::CheckFormat() const
{
    const XAudioWFX& wfx = m_common.wfx;
    StdReport::WriteDEBUG(L"WFX (on file): ", m_report, nullptr, false);
    StdReport::WriteDEBUG({StdReport::IsOn(m_report.hDebug) ? wfx.WFXToString() : XStr()},
                          m_report);
    if (wfx.FormatTag() == kTagPCM)
        return true;
    StdReport::WriteERROR({L"Error - file has compressed audio (not supported)."}, m_report,
                          kPrepare);
    return false;
}

bool SoundDecoder::DecodeBlock(STQvAudioBlock* block)
{
    const XAudioWFX& wfx = m_common.wfx;
    const int64_t offset = SubtractSaturated(m_position, m_range.DecodeFrom(wfx));
    block->nPositionMS = m_lengthUnknown ? 0 : wfx.CalcmsTime(offset);
    if (m_remaining == 0) {
        block->nLastBlock = 1;
        return true;
    }
    if (!ReadDataBlock())
        return false;
    if (!m_common.littleEndian)
        clAIFFHandler::ByteSwap(Block(), wfx.BitsPerSample());
    block->pData = Block().data();
    block->nDataSize = static_cast<uint32_t>(m_blockSize);
    wfx.CopyBasicTo(&block->WaveFormat);
    block->nBitRate = wfx.BitRate();
    block->nDurationMS = wfx.CalcmsTime(static_cast<int64_t>(m_blockSize));
    block->nLastBlock = m_remaining == 0 ? 1 : 0;
    return true;
}

// Goes on to the next block. A remainder of less than a frame is dropped, and the block then
// stays as it was.
bool SoundDecoder::ReadDataBlock()
{
    const XAudioWFX& wfx = m_common.wfx;
    if (m_remaining < wfx.BlockAlign())
        m_remaining = 0;
    const int64_t wanted = std::min(wfx.BlockAlignBuffer(kBlockBytes), m_remaining);
    if (wanted == 0)
        return true;
    if (Ahead() >= static_cast<size_t>(wanted)) {
        m_blockStart += m_blockSize;
        m_blockSize = static_cast<size_t>(wanted);
    } else if (!FillBuffer(wanted))
        return false;
    m_remaining -= static_cast<int64_t>(m_blockSize);
    m_position += static_cast<int64_t>(m_blockSize);
    return true;
}

// Reads a block and, in a sequence, some that follow it: fewer calls of the system, which also
// copies faster the more it is asked for.
bool SoundDecoder::FillBuffer(int64_t wanted)
{
    constexpr const char* kReadDataBlock = "ReadDataBlock";
    const int64_t most = std::min(wanted * (m_isSequence ? m_blocksAtOnce : 1), m_remaining);
    if (!m_decodeBuffer.ReserveForRead(static_cast<size_t>(most), m_position)) {
        StdReport::WriteERROR({L"Error allocating decoding buffer."}, m_report, kReadDataBlock);
        return false;
    }
    const auto block = static_cast<size_t>(wanted);
    const size_t count = ReadSound({m_decodeBuffer.Data(), static_cast<size_t>(most)}, block);
    if (count == 0 && m_remaining != 0) {
        StdReport::WriteERROR({L"Error reading data from file."}, m_report, kReadDataBlock);
        return false;
    }
    (void)m_decodeBuffer.SetUsed(count); // reserved above
    m_blockStart = 0;
    m_blockSize = std::min(block, count);
    m_isSequence = true;
    return true;
}

void SoundDecoder::DropAhead()
{
    (void)m_decodeBuffer.SetUsed(m_blockStart + m_blockSize); // less than it holds
    m_isSequence = false;
}

bool SoundDecoder::MoveTo(int64_t position)
{
    if (!Seek(position)) {
        StdReport::WriteERROR({L"Error SetPosition returned false."}, m_report, "SetPosition");
        return false;
    }
    DropAhead();
    m_position = position;
    m_remaining = m_range.DecodeTo(m_common.wfx) - position;
    return true;
}

const XMem* SoundDecoder::FillAudioProps(const XStr& properties)
{
    const Operation operation(m_report, "FillAudioProps");
    m_propertiesBuffer.Clear();
    if (!PullOutCOMMnSSND())
        return nullptr;
    const NTag props = CollectProps(properties);
    for (long i = 0; i < props.Count(); ++i)
        StdReport::WriteDEBUGWithPrefix({L"\t", props[i].name, L": "}, {props[i].value}, m_report);
    if (!props.ToRawMemory(m_propertiesBuffer))
        return nullptr;
    operation.Succeed();
    return &m_propertiesBuffer;
}

} // namespace aiff
