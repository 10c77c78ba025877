#include "host/writers/WavWriter.h"

#include "host/writers/CarriedTags.h"

namespace host
{
namespace
{

constexpr uint8_t kPadByte[] = {0};

} // namespace

Problem WavWriter::Begin(const STQvWaveFormat& format, int64_t pcmBytes)
{
    m_format = format;
    m_promised = pcmBytes;
    // Behind samples without a known end there is no place that a reader could find.
    const bool endless = pcmBytes == kUnknownLength && m_output.IsDirect();
    std::string why;
    if (!endless && !WavTagChunks(m_tags, m_tagChunks, why))
        return why;
    const int64_t behind = std::ssize(m_tagChunks);
    const std::vector<uint8_t> header = pcmBytes == kUnknownLength
                                            ? RoomyWavHeader(format, pcmBytes, why)
                                            : WavHeader(format, pcmBytes, why, behind);
    m_headerSize = header.size();
    return header.empty() ? why : m_output.Write(header);
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

// The new header has the size of the old one in one of its two forms.
Problem WavWriter::CorrectHeader()
{
    const int64_t behind = std::ssize(m_tagChunks);
    std::string why;
    std::vector<uint8_t> header = WavHeader(m_format, m_written, why, behind);
    if (header.size() != m_headerSize)
        header = RoomyWavHeader(m_format, m_written, why, behind);
    return header.empty() ? why : m_output.WriteAt(0, header);
}

} // namespace host
