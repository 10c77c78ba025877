// The header of a stream, up to its sound data.

#include "aiff/AIFFHandler.h"
#include "aiff/FormWalk.h"
#include "decode/StreamingDecoder.h"

#include <array>

namespace
{

// What a stream of unknown size is taken for, in bytes.
constexpr int64_t kAssumedSize = 3000000000;

// Where sound data of unknown length is taken to end.
constexpr int64_t kEndlessData = 4294967295000;

} // namespace

// A header that could not be parsed stays failed: what follows in the stream is no
// header any more.
bool clsStreamingwavedecoder::PullOutCOMMnSSND()
{
    if (m_header == Header::Unread)
        m_header = ReadHeader() ? Header::Parsed : Header::Failed;
    return m_header == Header::Parsed;
}

// Reads up to as many bytes as `bytes` holds and counts them.
std::span<const uint8_t> clsStreamingwavedecoder::Take(std::span<uint8_t> bytes)
{
    const size_t taken = m_stream->Read(bytes);
    m_count += static_cast<int64_t>(taken);
    return bytes.first(taken);
}

bool clsStreamingwavedecoder::ReadHeader()
{
    const int64_t size = m_stream->Size();
    std::array<uint8_t, kFormHeaderSize> header;
    FormWalk walk(m_report, kPullOut);
    STFormHeader form;
    return walk.Begin(Take(header), size != 0 ? size : kAssumedSize, form) &&
           WalkChunks(walk, form.type);
}

// Passes COMM and empty chunks until the sound chunk. Anything else would have to be
// skipped, which a stream cannot do.
bool clsStreamingwavedecoder::WalkChunks(FormWalk& walk, uint32_t formType)
{
    while (walk.MoreChunks()) {
        std::array<uint8_t, kChunkHeaderSize> header;
        STChunkHeader chunk;
        const int64_t position = m_count;
        if (!walk.TakeHeader(Take(header), position, nullptr, chunk))
            break;
        if (clAIFFHandler::CompareID(chunk.code, kChunkSound, true))
            return ReachSound(chunk);
        if (clAIFFHandler::CompareID(chunk.code, kChunkCommon, true)) {
            if (!ReadCOMM(chunk, formType))
                return false;
        } else if (chunk.nSize != 0) {
            StdReport::WriteERROR({L"Error unknown Chunk too large for streaming."}, m_report,
                                  kPullOut);
            return false;
        }
        std::array<uint8_t, 1> pad;
        Take(std::span(pad).first(static_cast<size_t>(chunk.nSize & 1)));
        walk.Passed(PaddedSize(chunk.nSize));
    }
    StdReport::WriteERROR({L"Error cannot find 'SSND' chunk."}, m_report, kPullOut);
    return false;
}

bool clsStreamingwavedecoder::ReadCOMM(const STChunkHeader& chunk, uint32_t formType)
{
    StdReport::WriteDEBUG(L"Assigning 'COMM' chunk to WFX", m_report);
    if (chunk.nSize < kLeastCommonSize || chunk.nSize > kMostCommonSize) {
        StdReport::WriteERROR({L"Error 'COMM' chunk is a bad size."}, m_report, kPullOut);
        return false;
    }
    if (!m_commBytes.SetUsed(static_cast<size_t>(chunk.nSize)) ||
        Take(m_commBytes.View()).size() != m_commBytes.Used()) {
        m_commBytes.Clear();
        StdReport::WriteERROR({L"Error cannot read 'COMM' chunk from file."}, m_report, kPullOut);
        return false;
    }
    ReadCommonChunk(m_commBytes.View(), formType, m_common);
    return true;
}

bool clsStreamingwavedecoder::ReachSound(const STChunkHeader& chunk)
{
    m_range.dataStart = m_count;
    m_range.dataEnd = m_count + chunk.nSize;
    if (chunk.nSize == 0 && !m_stream->IsSeekable()) {
        m_range.dataEnd = kEndlessData;
        m_lengthUnknown = true;
    }
    if (!m_commBytes.Empty())
        return true;
    StdReport::WriteERROR({L"Error wave file has no COMM format chunk."}, m_report, kPullOut);
    return false;
}
