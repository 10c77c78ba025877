#include "host/writers/WavWriter.h"

#include "host/writers/CarriedTags.h"

namespace host
{
namespace
{

constexpr uint8_t kPadByte[] = {0};

} // namespace

bool WavWriter::Begin(const STQvWaveFormat& format, int64_t pcmBytes)
{
    m_format = format;
    m_promised = pcmBytes;
    // Behind samples without a known end there is no place that a reader could find.
    const bool endless = pcmBytes == kUnknownLength && m_output.IsDirect();
    if (!endless && !WavTagChunks(m_tags, m_tagChunks, m_problem))
        return false;
    const int64_t behind = std::ssize(m_tagChunks);
    const std::vector<uint8_t> header = pcmBytes == kUnknownLength
                                            ? RoomyWavHeader(format, pcmBytes, m_problem)
                                            : WavHeader(format, pcmBytes, m_problem, behind);
    m_headerSize = header.size();
    return !header.empty() && m_output.Write(header);
}

bool WavWriter::Write(std::span<const uint8_t> pcm)
{
    m_written += std::ssize(pcm);
    return m_output.Write(pcm);
}

bool WavWriter::End()
{
    const bool padded = m_written % 2 == 0 || m_output.Write(kPadByte);
    if (!padded || !m_output.Write(m_tagChunks))
        return false;
    const bool uncorrectable = m_promised == kUnknownLength && m_output.IsDirect();
    return m_written == m_promised || uncorrectable || CorrectHeader();
}

// The new header has the size of the old one in one of its two forms.
bool WavWriter::CorrectHeader()
{
    const int64_t behind = std::ssize(m_tagChunks);
    std::vector<uint8_t> header = WavHeader(m_format, m_written, m_problem, behind);
    if (header.size() != m_headerSize)
        header = RoomyWavHeader(m_format, m_written, m_problem, behind);
    return !header.empty() && m_output.WriteAt(0, header);
}

} // namespace host
