// SPDX-License-Identifier: MIT
#include "host/writers/WavWriter.h"

namespace aiff::host
{
namespace
{

constexpr uint8_t kPadByte[] = {0};

} // namespace

Problem WavWriter::Begin(const STQvWaveFormat& format, int64_t pcmBytes)
{
    m_format = format;
    m_promised = pcmBytes;
    // No reader could find chunks after samples without a known end.
    const bool endless = pcmBytes == kUnknownLength && m_output.IsDirect();
    TagBytes tags = WavTagChunks(m_tags);
    m_notes = std::move(tags.notes);
    if (!endless)
        m_tagChunks = std::move(tags.bytes);
    else if (!tags.bytes.empty())
        m_notes.emplace_back("has tags that a WAV file of unknown length cannot hold on standard "
                             "output, which are left out");
    const Result<std::vector<uint8_t>> header =
        pcmBytes == kUnknownLength ? RoomyWavHeader(format, pcmBytes)
                                   : WavHeader(format, pcmBytes, std::ssize(m_tagChunks));
    if (!header)
        return header.Why();
    m_headerSize = header->size();
    return m_output.Write(*header);
}

Problem WavWriter::Write(std::span<const uint8_t> pcm)
{
    m_written += std::ssize(pcm);
    return m_output.Write(pcm);
}

Problem WavWriter::End()
{
    if (Problem problem = m_written % 2 == 0 ? Problem() : m_output.Write(kPadByte))
        return problem;
    if (Problem problem = m_output.Write(m_tagChunks))
        return problem;
    const bool uncorrectable = m_promised == kUnknownLength && m_output.IsDirect();
    return m_written == m_promised || uncorrectable ? Problem() : CorrectHeader();
}

// One of the two forms of the new header has the size of the old one.
Problem WavWriter::CorrectHeader()
{
    const int64_t chunksAfter = std::ssize(m_tagChunks);
    Result<std::vector<uint8_t>> header = WavHeader(m_format, m_written, chunksAfter);
    if (header && header->size() != m_headerSize)
        header = RoomyWavHeader(m_format, m_written, chunksAfter);
    return header ? m_output.WriteAt(0, *header) : header.Why();
}

} // namespace aiff::host
