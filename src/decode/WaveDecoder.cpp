#include "decode/WaveDecoder.h"

#include "decode/DecodeSteps.h"

using DecodeSteps::kPullOut;
using StdReport::Operation;

bool clWaveDecoder::Initialize(XFileHandle file, const STNStdReport& report, int64_t rangeStart,
                               int64_t rangeEnd)
{
    m_report = report;
    const Operation operation(m_report, "Initialize");
    m_range.rangeStart = rangeStart;
    m_range.rangeEnd = rangeEnd;
    m_common.compressionName = STCommonChunk().compressionName;
    m_common.compressionType = STCommonChunk().compressionType;
    (void)m_file.Open(file); // a file that is not open fails in the scan
    operation.Succeed();
    return m_aiff.Initialize(std::move(file), m_report);
}

void clWaveDecoder::Close(STQvEncoderFluid)
{
    const Operation operation(m_report, "Close");
    m_aiff.Destroy();
    m_file.Close();
    operation.Succeed();
}

bool clWaveDecoder::PullOutCOMMnSSND()
{
    if (!m_commBytes.Empty())
        return true;
    const Operation operation(m_report, kPullOut);
    StdReport::WriteDEBUG(L"Finding 'COMM' chunk.", m_report);
    const STRIFFChunk* common = m_aiff.FindChunkForRead(kChunkCommon, false);
    if (common == nullptr) {
        StdReport::WriteERROR({L"Error cannot find 'COMM' chunk."}, m_report, kPullOut);
        return false;
    }
    StdReport::WriteDEBUG(L"Finding 'SSND' chunk.", m_report);
    const STRIFFChunk* sound = m_aiff.FindChunkForRead(kChunkSound, false);
    if (sound == nullptr) {
        StdReport::WriteERROR({L"Error cannot find 'SSND' chunk."}, m_report, kPullOut);
        return false;
    }
    m_range.dataStart = sound->FileDataPosition + kSoundPrefixSize;
    m_range.dataEnd = m_range.dataStart + sound->nSize - kSoundPrefixSize;
    StdReport::WriteDEBUG(L"Assigning 'COMM' chunk to WFX", m_report);
    return ReadCOMM(*common) && operation.Succeed();
}

bool clWaveDecoder::ReadCOMM(const STRIFFChunk& chunk)
{
    if (chunk.nSize < kLeastCommonSize || chunk.nSize > kMostCommonSize) {
        StdReport::WriteERROR({L"Error 'COMM' chunk is a bad size."}, m_report, kPullOut);
        return false;
    }
    if (!m_commBytes.SetUsed(static_cast<size_t>(chunk.nSize)) ||
        !m_file.SetPosition(chunk.FileDataPosition)) {
        m_commBytes.Clear();
        StdReport::WriteERROR({L"Error cannot Set File Position."}, m_report, kPullOut);
        return false;
    }
    if (m_file.Read(m_commBytes.View()) != m_commBytes.Used()) {
        m_commBytes.Clear();
        StdReport::WriteERROR({L"Error cannot read 'COMM' chunk from file."}, m_report, kPullOut);
        return false;
    }
    ReadCommonChunk(m_commBytes.View(), m_aiff.GetFormType(), m_common);
    return true;
}

bool clWaveDecoder::FillAudioInfo(STQvAudioInfo* info)
{
    const Operation operation(m_report, "FillAudioInfo");
    if (!PullOutCOMMnSSND())
        return false;
    const XAudioWFX& wfx = m_common.wfx;
    const int64_t length = m_range.LengthBytes(wfx);
    wfx.CopyBasicTo(&info->WaveFormat);
    info->nLengthBytes = length;
    info->nBitRate = wfx.BitRate();
    info->nLengthMS = wfx.CalcmsTime(length);
    return operation.Succeed();
}

bool clWaveDecoder::PrepareToDecodeAudio(STQvAudioInfo* info)
{
    const Operation operation(m_report, DecodeSteps::kPrepare);
    if (!PullOutCOMMnSSND())
        return false;
    const XAudioWFX& wfx = m_common.wfx;
    if (!DecodeSteps::CheckFormat(wfx, m_report))
        return false;
    StdReport::WriteDEBUG(L"Setting Position in File", m_report);
    m_position = m_range.DecodeFrom(wfx);
    m_remaining = m_range.LengthBytes(wfx);
    if (!m_file.SetPosition(m_position)) {
        StdReport::WriteERROR({L"Error SetPosition returned false."}, m_report,
                              DecodeSteps::kPrepare);
        return false;
    }
    wfx.CopyBasicTo(&info->WaveFormat);
    return operation.Succeed();
}

// Reads the next block into the decode buffer. Less than a frame that remains is
// dropped: the buffer then stays as it was.
bool clWaveDecoder::ReadDataBlock()
{
    const int64_t size = DecodeSteps::NextBlockSize(m_common.wfx, m_remaining);
    if (size == 0)
        return true;
    const auto count = static_cast<size_t>(size);
    if (!m_decodeBuffer.ReserveForRead(count, m_position)) {
        StdReport::WriteERROR({L"Error allocating decoding buffer."}, m_report,
                              DecodeSteps::kReadDataBlock);
        return false;
    }
    if (m_file.ReadAt(m_position, {m_decodeBuffer.Data(), count}) != count) {
        StdReport::WriteERROR({L"Error reading data from file."}, m_report,
                              DecodeSteps::kReadDataBlock);
        return false;
    }
    (void)m_decodeBuffer.SetUsed(count); // reserved above
    m_remaining -= size;
    m_position += size;
    return true;
}

bool clWaveDecoder::DecodeBlock(STQvAudioBlock* block)
{
    const XAudioWFX& wfx = m_common.wfx;
    block->nPositionMS = wfx.CalcmsTime(SubtractSaturated(m_position, m_range.DecodeFrom(wfx)));
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

bool clWaveDecoder::SetPosition(int64_t frame)
{
    const XAudioWFX& wfx = m_common.wfx;
    const int64_t position = m_range.PositionOf(frame, wfx);
    if (!m_file.SetPosition(position)) {
        StdReport::WriteERROR({L"Error SetPosition returned false."}, m_report,
                              DecodeSteps::kSetPosition);
        return false;
    }
    m_position = position;
    m_remaining = m_range.DecodeTo(wfx) - position;
    return true;
}
