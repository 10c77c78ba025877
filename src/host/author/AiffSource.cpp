#include "host/author/AiffSource.h"

#include "decode/CommonChunk.h"
#include "host/author/ChunkCode.h"
#include "support/file/DiskFile.h"

#include <algorithm>
#include <array>

namespace host
{
namespace
{

constexpr int kMostBits = 32;
// Chunks that pass through are held in memory.
constexpr int64_t kMostPassedBytes = 256 * 1024 * 1024;
// Where the rate stands in a COMM chunk, and its bytes there.
constexpr size_t kRateOffset = 8;
constexpr size_t kRateSize = 10;

bool IsCommonOrSound(uint32_t code)
{
    return clAIFFHandler::CompareID(code, kChunkCommon, true) ||
           clAIFFHandler::CompareID(code, kChunkSound, true);
}

} // namespace

bool AiffSource::IsAiff(const std::string& path)
{
    m_file = DiskFile::Open(path, XFile::Access::Read);
    std::array<uint8_t, kFormHeaderSize> header;
    if (m_file == nullptr || m_file->ReadAt(0, header) != header.size() ||
        !clAIFFHandler::CompareID(CodeAt(&header[0]), kChunkForm, true))
        return false;
    const uint32_t type = CodeAt(&header[8]); // there are other forms, too
    return clAIFFHandler::CompareID(type, kFormTypeAIFF, true) ||
           clAIFFHandler::CompareID(type, kFormTypeAIFC, true);
}

bool AiffSource::Open(std::string& problem)
{
    if (!m_aiff.Initialize(m_file, {})) {
        problem = "cannot be read";
        return false;
    }
    return ReadFormat(problem) && FindSound(problem);
}

bool AiffSource::ReadFormat(std::string& problem)
{
    const STRIFFChunk* chunk = m_aiff.FindChunkForRead(kChunkCommon, false);
    if (chunk == nullptr || chunk->nSize < kLeastCommonSize || chunk->nSize > kMostCommonSize) {
        problem = "says nothing usable about its audio format (COMM chunk)";
        return false;
    }
    std::vector<uint8_t> body(static_cast<size_t>(chunk->nSize));
    if (m_file->ReadAt(chunk->FileDataPosition, body) != body.size()) {
        problem = "is cut off within the description of its audio format (COMM chunk)";
        return false;
    }
    STCommonChunk common;
    ReadCommonChunk(body, m_aiff.GetFormType(), common);
    m_littleEndian = common.littleEndian;
    // Signed: a damaged chunk may count below zero.
    const int channels = clAIFFHandler::SizeToInt(body.data());
    const int bits = clAIFFHandler::SizeToInt(&body[6]);
    if (common.wfx.FormatTag() != kTagPCM) {
        problem = "holds audio coded as " + CodeText(common.compressionType) +
                  ", and of AIFF-C only 'NONE' and 'sowt' can be encoded";
        return false;
    }
    if (channels < 1 || bits < 1 || bits > kMostBits || channels * ((bits + 7) / 8) > UINT16_MAX) {
        problem = "has an impossible format: " + std::to_string(channels) + " channels, " +
                  std::to_string(bits) + " bits";
        return false;
    }
    SetFormat(channels, common.wfx.SamplesPerSec(), bits);
    m_exact.rate.assign(body.begin() + kRateOffset, body.begin() + kRateOffset + kRateSize);
    return true;
}

bool AiffSource::FindSound(std::string& problem)
{
    m_sound = m_aiff.FindChunkForRead(kChunkSound, false);
    std::vector<uint8_t> prefix(kSoundPrefixSize);
    if (m_sound == nullptr || m_sound->nSize < kSoundPrefixSize ||
        m_file->ReadAt(m_sound->FileDataPosition, prefix) != prefix.size()) {
        problem = "holds no sound data (SSND chunk)";
        return false;
    }
    m_position = m_sound->FileDataPosition + kSoundPrefixSize;
    const int64_t size = std::min(m_sound->nSize, m_file->Size() - m_sound->FileDataPosition);
    const int64_t offset = clAIFFHandler::SizeToInt64(prefix.data());
    m_offset = offset < size - kSoundPrefixSize ? offset : 0;
    const int64_t samples = size - kSoundPrefixSize - m_offset;
    m_expected = m_offset + samples / m_format.nBlockAlign * m_format.nBlockAlign;
    m_end = m_position + m_expected;
    if (m_offset != 0)
        m_exact.prefix = std::move(prefix);
    return true;
}

bool AiffSource::ListChunks(clPassAIFFChunks& chunks, std::string& problem)
{
    const STRIFFChunk* const common = m_aiff.FindChunkForRead(kChunkCommon, false);
    int64_t passed = 0;
    for (int i = 0; i < m_aiff.Count(); ++i) {
        const STRIFFChunk& chunk = *m_aiff.GetChunk(i);
        if (&chunk == common || &chunk == m_sound) {
            chunks.AddInternal(chunk.ID, nullptr, 0, false);
            continue;
        }
        if (!IsTextCode(chunk.ID)) {
            m_lost = "has no chunk where one is due (a pad byte may be missing)";
            return true;
        }
        if (IsCommonOrSound(chunk.ID))
            continue;
        passed += chunk.nSize;
        if (passed > kMostPassedBytes) {
            problem = "carries more than 256 MiB beside its sound";
            return false;
        }
        PassChunk(chunk, chunks);
    }
    return true;
}

// Half a chunk is of no use to anybody.
void AiffSource::PassChunk(const STRIFFChunk& chunk, clPassAIFFChunks& chunks)
{
    std::vector<uint8_t> data(static_cast<size_t>(chunk.nSize));
    if (IsCut(chunk) || m_file->ReadAt(chunk.FileDataPosition, data) != data.size())
        m_lost = "is cut off within its chunk " + CodeText(chunk.ID);
    else
        chunks.AddInternal(chunk.ID, data.data(), static_cast<uint32_t>(data.size()), false);
}

// The index cuts a chunk that claims more than there is; the claim stands in the file.
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
        clAIFFHandler::ByteSwap(block, SampleBits());
    return true;
}

std::string AiffSource::Damage() const
{
    return IsCut(*m_sound) ? "is cut off: its sound data is shorter than the file says" : m_lost;
}

} // namespace host
