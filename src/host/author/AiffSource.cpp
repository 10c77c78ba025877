// SPDX-License-Identifier: MIT
#include "host/author/AiffSource.h"

#include "decode/CommonChunk.h"
#include "host/author/tags/AiffForm.h"
#include "host/author/tags/TagCheck.h"
#include "host/session/Reason.h"
#include "support/file/DiskFile.h"

#include <algorithm>
#include <array>

namespace aiff::host
{
namespace
{

// Chunks that pass through are held in memory.
constexpr int64_t kMostPassedBytes = 256 * 1024 * 1024;
// The sample rate in a COMM chunk.
constexpr size_t kRateOffset = 8;
constexpr size_t kRateSize = 10;

constexpr char kEndsWithinPacket[] = "ends its sound within a packet of samples, which is left out";

} // namespace

bool AiffSource::IsAiff(const std::string& path)
{
    std::error_code error;
    m_file = DiskFile::Open(path, DiskFile::Access::Read, error);
    std::array<uint8_t, kFormHeaderSize> header;
    if (m_file == nullptr || m_file->ReadAt(0, header) != header.size() ||
        !clAIFFHandler::CompareID(CodeAt(&header[0]), kChunkForm, true))
        return false;
    const uint32_t type = CodeAt(&header[8]); // other formats are forms, too
    return clAIFFHandler::CompareID(type, kFormTypeAIFF, true) ||
           clAIFFHandler::CompareID(type, kFormTypeAIFC, true);
}

Problem AiffSource::Open(Codings accepted)
{
    if (!m_aiff.Initialize(m_file, {}))
        return "cannot be read";
    if (Problem problem = ReadFormat(accepted))
        return problem;
    return FindSound();
}

Problem AiffSource::ReadFormat(Codings accepted)
{
    const STRIFFChunk* chunk = m_aiff.FindChunkForRead(kChunkCommon, false);
    if (chunk == nullptr || chunk->nSize < kLeastCommonSize || chunk->nSize > kMostCommonSize)
        return "has no usable description of its audio format (COMM chunk)";
    std::vector<uint8_t> body(static_cast<size_t>(chunk->nSize));
    if (m_file->ReadAt(chunk->FileDataPosition, body) != body.size())
        return "is cut off within the description of its audio format (COMM chunk)";
    CommonChunk common;
    ReadCommonChunk(body, m_aiff.GetFormType(), common);
    m_littleEndian = common.littleEndian;
    // Signed: a damaged chunk may count below zero.
    const int channels = clAIFFHandler::SizeToInt(body.data());
    const int bits = clAIFFHandler::SizeToInt(&body[6]);
    const Coding* coding = FindCoding(common.compressionType);
    m_isCoded = common.wfx.FormatTag() != kTagPCM;
    if (m_isCoded && accepted == Codings::Plain)
        return "holds audio coded as " + CodeText(common.compressionType) +
               ", and of AIFF-C only 'NONE' and 'sowt' can be encoded; 'aiffconv convert' makes "
               "WAV of most others";
    const bool isByBits = !m_isCoded || (coding != nullptr && coding->unitBytes == 0);
    const int unitBytes = isByBits            ? (bits + 7) / 8
                          : coding == nullptr ? 1
                                              : std::max(coding->unitBytes, 1);
    if (channels < 1 || (isByBits && (bits < 1 || bits > kMostBits)) ||
        channels * unitBytes > UINT16_MAX)
        return ImpossibleFormatText(channels, bits);
    m_unitBytes = int64_t{channels} * unitBytes;
    m_layout.coding = coding;
    m_layout.code = common.compressionType;
    m_layout.bits = bits;
    m_layout.frames = clAIFFHandler::SizeToInt64(&body[2]);
    SetFormat(channels, common.wfx.SamplesPerSec(), bits);
    m_exact.rate.assign(body.begin() + kRateOffset, body.begin() + kRateOffset + kRateSize);
    return {};
}

Problem AiffSource::FindSound()
{
    m_sound = m_aiff.FindChunkForRead(kChunkSound, false);
    std::vector<uint8_t> prefix(kSoundPrefixSize);
    if (m_sound == nullptr || m_sound->nSize < kSoundPrefixSize ||
        m_file->ReadAt(m_sound->FileDataPosition, prefix) != prefix.size())
        return "holds no sound data (SSND chunk)";
    m_position = m_sound->FileDataPosition + kSoundPrefixSize;
    const int64_t size = std::min(m_sound->nSize, m_file->Size() - m_sound->FileDataPosition);
    const int64_t offset = clAIFFHandler::SizeToInt64(prefix.data());
    m_offset = offset < size - kSoundPrefixSize ? offset : 0;
    m_sampleBytes = size - kSoundPrefixSize - m_offset;
    m_layout.position = m_position + m_offset;
    m_layout.bytes = m_sampleBytes / m_unitBytes * m_unitBytes;
    m_expected = m_offset + m_layout.bytes;
    m_end = m_position + m_expected;
    if (m_offset != 0)
        m_exact.prefix = std::move(prefix);
    return {};
}

Problem AiffSource::ListChunks(clPassAIFFChunks& chunks)
{
    const STRIFFChunk* const common = m_aiff.FindChunkForRead(kChunkCommon, false);
    int64_t passed = 0;
    for (int i = 0; i < m_aiff.Count(); ++i) {
        const STRIFFChunk& chunk = *m_aiff.GetChunk(i);
        if (&chunk == common || &chunk == m_sound) {
            chunks.AddInternal(chunk.ID, nullptr, 0, false);
            continue;
        }
        if (!IsTextCode(chunk.ID))
            break; // Damage() tells
        if (IsCommonOrSound(chunk.ID))
            continue;
        passed += chunk.nSize;
        if (passed > kMostPassedBytes)
            return "holds more than 256 MiB besides its sound";
        std::vector<uint8_t> data(static_cast<size_t>(chunk.nSize));
        if (m_file->ReadAt(chunk.FileDataPosition, data) != data.size())
            return "cannot be read in its chunk " + CodeText(chunk.ID);
        if (!IsCut(chunk)) // or it is left out, and Damage() tells
            chunks.AddInternal(chunk.ID, data.data(), static_cast<uint32_t>(data.size()), false);
    }
    return {};
}

// The index shortens a chunk that claims more than there is, so the claim is read again.
bool AiffSource::IsCut(const STRIFFChunk& chunk) const
{
    std::array<uint8_t, 4> claim;
    return m_file->ReadAt(chunk.ChunkPosition + 4, claim) != claim.size() ||
           clAIFFHandler::SizeToInt64(claim.data()) > chunk.nSize;
}

bool AiffSource::Read(XMem& block)
{
    const bool inOffset = m_position < m_end - SampleBytes(m_expected);
    const int64_t end = inOffset ? m_end - SampleBytes(m_expected) : m_end;
    const int64_t size = std::min(static_cast<int64_t>(BlockBytes()), end - m_position);
    if (!block.SetUsed(static_cast<size_t>(size)) ||
        m_file->ReadAt(m_position, block.View()) != block.Used())
        return false;
    m_position += size;
    if (m_littleEndian && !inOffset && SampleBits() > 8)
        clAIFFHandler::ByteSwap(block.View(), SampleBits());
    return true;
}

Problem AiffSource::Damage() const
{
    if (IsCut(*m_sound))
        return kSoundIsCut;
    for (int i = 0; i < m_aiff.Count(); ++i) {
        if (!IsTextCode(m_aiff.GetChunk(i)->ID))
            return "has no chunk where one is due (a pad byte may be missing)";
    }
    // Only what is last can reach beyond the end.
    const STRIFFChunk& last = *m_aiff.GetChunk(m_aiff.Count() - 1);
    if (IsCut(last))
        return "is cut off within its chunk " + CodeText(last.ID);
    if (!m_aiff.CheckComplete())
        return "has chunks that could not be read";
    return Disagreement();
}

std::string AiffSource::LeftOut() const
{
    XFile file;
    if (!file.Open(m_file))
        return {};
    const TrailingBytes trailing = ReadTrailingBytes(file, m_aiff.GetFormEnd());
    if (trailing.areZero)
        return {};
    return "left out: " + Counted(trailing.count, "byte") + " after the end of its form (" +
           trailing.Looks() + ")";
}

Problem AiffSource::Disagreement() const
{
    const Coding* coding = m_layout.coding;
    if (coding == nullptr || coding->unitBytes < 0)
        return {};
    const int perUnit = coding->unitFrames;
    const int64_t held = m_sampleBytes / m_unitBytes * perUnit;
    const int64_t counted = m_layout.frames;
    // Of packets, programs count these, their frames, or the frames without those that fill the
    // last one.
    if (counted > held || (perUnit == 1 && counted != held))
        return FramesDifferText(counted, held);
    if (m_sampleBytes % m_unitBytes == 0)
        return {};
    return perUnit == 1 ? kEndsWithinFrame : kEndsWithinPacket;
}

} // namespace aiff::host
