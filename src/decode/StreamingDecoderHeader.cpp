// SPDX-License-Identifier: MIT

// Parsing the header of a stream, up to its sound data.

#include "aiff/AIFFHandler.h"
#include "aiff/FormWalk.h"
#include "decode/StreamingDecoder.h"

#include <array>

namespace aiff
{

namespace
{

// Assumed size in bytes of a stream whose size is unknown, in plain mode; in exact mode a
// chunk may have any size.
constexpr int64_t kAssumedSize = 3000000000;

// Assumed end position of sound data whose length is unknown.
constexpr int64_t kEndlessData = 4294967295000;

} // namespace

// A header that could not be parsed is not tried again: the stream is past it.
bool clsStreamingwavedecoder::PullOutCOMMnSSND()
{
    if (m_header == Header::Unread)
        m_header = ReadHeader() ? Header::Parsed : Header::Failed;
    return m_header == Header::Parsed;
}

// Reads up to as many bytes as `bytes` holds and counts them. The whole header has what is
// left of the time of the open.
std::span<const uint8_t> clsStreamingwavedecoder::ReadHeaderBytes(std::span<uint8_t> bytes)
{
    const size_t taken = ReadStream(bytes);
    m_count += static_cast<int64_t>(taken);
    return bytes.first(taken);
}

bool clsStreamingwavedecoder::ReadHeader()
{
    const int64_t assumed = m_mode == StreamMode::Exact ? kEndlessData : kAssumedSize;
    const int64_t size = m_stream->Size() != 0 ? m_stream->Size() : assumed;
    std::array<uint8_t, kFormHeaderSize> header;
    FormWalk walk(m_report, kPullOut);
    FormHeader form;
    if (!walk.Begin(ReadHeaderBytes(header), size, form))
        return false;
    m_formType = form.type;
    return WalkChunks(walk);
}

// Walks over COMM and empty chunks to the sound chunk. Anything else would have to be
// skipped, which a stream cannot do.
bool clsStreamingwavedecoder::WalkChunks(FormWalk& walk)
{
    while (walk.MoreChunks()) {
        std::array<uint8_t, kChunkHeaderSize> header;
        ChunkHeader chunk;
        const int64_t position = m_count;
        if (!walk.ParseHeader(ReadHeaderBytes(header), position, nullptr, chunk))
            break;
        if (clAIFFHandler::CompareID(chunk.code, kChunkSound, true))
            return ReachSound(chunk);
        if (clAIFFHandler::CompareID(chunk.code, kChunkCommon, true)) {
            if (!ReadCOMM(chunk))
                return false;
        } else if (chunk.size != 0) {
            StdReport::WriteERROR({L"Error unknown Chunk too large for streaming."}, m_report,
                                  kPullOut);
            return false;
        }
        std::array<uint8_t, 1> pad;
        ReadHeaderBytes(std::span(pad).first(static_cast<size_t>(chunk.size & 1)));
        walk.ChargeData(PaddedSize(chunk.size));
    }
    StdReport::WriteERROR({L"Error cannot find 'SSND' chunk."}, m_report, kPullOut);
    return false;
}

bool clsStreamingwavedecoder::ReadCOMM(const ChunkHeader& chunk)
{
    StdReport::WriteDEBUG(L"Assigning 'COMM' chunk to WFX", m_report);
    if (chunk.size < kLeastCommonSize || chunk.size > kMostCommonSize) {
        StdReport::WriteERROR({L"Error 'COMM' chunk is a bad size."}, m_report, kPullOut);
        return false;
    }
    if (!m_commBytes.SetUsed(static_cast<size_t>(chunk.size)) ||
        ReadHeaderBytes(m_commBytes.View()).size() != m_commBytes.Used()) {
        m_commBytes.Clear();
        StdReport::WriteERROR({L"Error cannot read 'COMM' chunk from file."}, m_report, kPullOut);
        return false;
    }
    ReadCommonChunk(m_commBytes.View(), m_formType, m_common);
    return true;
}

bool clsStreamingwavedecoder::ReachSound(const ChunkHeader& chunk)
{
    m_range.dataStart = m_count;
    m_range.dataEnd = m_count + chunk.size;
    if (m_mode == StreamMode::Exact) {
        m_range.dataStart += kSoundPrefixSize;
        m_range.dataEnd =
            m_range.dataStart + m_common.wfx.BlockAlignBuffer(chunk.size - kSoundPrefixSize);
    }
    if (chunk.size == 0 && !m_stream->IsSeekable()) {
        m_range.dataEnd = kEndlessData;
        m_lengthUnknown = true;
    }
    if (!m_commBytes.Empty())
        return true;
    StdReport::WriteERROR({L"Error wave file has no COMM format chunk."}, m_report, kPullOut);
    return false;
}

} // namespace aiff
