// SPDX-License-Identifier: MIT
#include "decode/WaveDecoder.h"

namespace aiff
{

using StdReport::Operation;

bool clWaveDecoder::Initialize(XFileHandle file, const STNStdReport& report, int64_t rangeStart,
                               int64_t rangeEnd)
{
    m_report = report;
    const Operation operation(m_report, "Initialize");
    m_range.rangeStart = rangeStart;
    m_range.rangeEnd = rangeEnd;
    m_common.compressionName = CommonChunk().compressionName;
    m_common.compressionType = CommonChunk().compressionType;
    (void)m_file.Open(file); // the scan reports a file that is not open
    operation.Leave();
    return m_aiff.Initialize(std::move(file), m_report);
}

void clWaveDecoder::Close(const STQvEncoderFluid&)
{
    const Operation operation(m_report, "Close");
    Release();
    operation.Leave();
}

void clWaveDecoder::Release()
{
    m_aiff.Destroy();
    m_file.Close();
    DropAhead();
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

bool clWaveDecoder::SeekToStart()
{
    StdReport::WriteDEBUG(L"Setting Position in File", m_report);
    if (Seek(m_position))
        return true;
    StdReport::WriteERROR({L"Error SetPosition returned false."}, m_report, kPrepare);
    return false;
}

bool clWaveDecoder::Seek(int64_t position)
{
    return m_file.SetPosition(position);
}

size_t clWaveDecoder::ReadSound(std::span<uint8_t> bytes, size_t block)
{
    const size_t count = m_file.ReadAt(m_position, bytes);
    return count < block ? 0 : count;
}

bool clWaveDecoder::SetPosition(int64_t frame)
{
    return MoveTo(m_range.PositionOf(frame, m_common.wfx));
}

} // namespace aiff
