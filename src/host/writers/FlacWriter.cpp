// SPDX-License-Identifier: MIT
#include "host/writers/FlacWriter.h"

#include "host/session/PcmReader.h"
#include "host/writers/OpenSndfile.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace aiff::host
{
namespace
{

constexpr size_t kMarkSize = 4; // "fLaC"
constexpr size_t kBlockHeader = 4;
constexpr size_t kStreamInfoEnd = kMarkSize + kBlockHeader + 34;
constexpr int kFullBits = 32;
constexpr uint16_t kMaxChannels = 8;

int SampleFormat(int bits)
{
    switch (bits) {
    case 8:
        return SF_FORMAT_PCM_S8;
    case 16:
        return SF_FORMAT_PCM_16;
    case 24:
        return SF_FORMAT_PCM_24;
    default:
        return 0;
    }
}

// One sample with its highest bit at the highest of an int, as the encoder wants it.
int Sample(const uint8_t* bytes, int bits)
{
    uint32_t value = 0;
    for (int i = 0; i < bits / 8; ++i)
        value |= uint32_t{bytes[i]} << (kFullBits - bits + 8 * i);
    constexpr uint32_t kSign = 0x80000000;
    return static_cast<int>(bits == 8 ? value ^ kSign : value);
}

} // namespace

FlacWriter::~FlacWriter()
{
    m_discarded = true;
    if (m_encoder != nullptr)
        sf_close(m_encoder);
}

SF_VIRTUAL_IO FlacWriter::FileFunctions()
{
    SF_VIRTUAL_IO io{};
    io.get_filelen = [](void* user) -> sf_count_t {
        return static_cast<FlacWriter*>(user)->m_length;
    };
    io.seek = [](sf_count_t offset, int whence, void* user) -> sf_count_t {
        auto* self = static_cast<FlacWriter*>(user);
        if (whence == SEEK_CUR)
            offset += self->m_position;
        else if (whence == SEEK_END)
            offset += self->m_length;
        return self->m_position = offset;
    };
    io.read = [](void*, sf_count_t, void*) -> sf_count_t { return 0; };
    io.write = [](const void* data, sf_count_t count, void* user) -> sf_count_t {
        const auto* bytes = static_cast<const uint8_t*>(data);
        const bool taken =
            static_cast<FlacWriter*>(user)->Take({bytes, static_cast<size_t>(count)});
        return taken ? count : 0;
    };
    io.tell = [](void* user) -> sf_count_t { return static_cast<FlacWriter*>(user)->m_position; };
    return io;
}

Problem FlacWriter::Begin(const STQvWaveFormat& format, int64_t)
{
    m_format = format;
    const int bits = format.nBitsPerSample;
    if (format.nFormatTag == kFormatFloat)
        return "holds floating-point samples (FLAC takes integers only; --format wav takes them)";
    if (format.nFormatTag != QV_FORMAT_PCM || SampleFormat(bits) == 0)
        return "has samples of " + std::to_string(bits) +
               " bits (FLAC takes 8, 16 and 24; --format wav takes all)";
    if (format.nChannels > kMaxChannels)
        return "has " + std::to_string(format.nChannels) +
               " channels (FLAC takes 8; --format wav takes all)";
    SF_INFO info{};
    info.samplerate = static_cast<int>(
        std::min<uint32_t>(format.nSamplesPerSec, std::numeric_limits<int>::max()));
    info.channels = format.nChannels;
    info.format = SF_FORMAT_FLAC | SampleFormat(bits);
    SF_VIRTUAL_IO io = FileFunctions();
    const auto encoder = OpenSndfile([&] { return sf_open_virtual(&io, SFM_WRITE, &info, this); });
    if (!encoder)
        return Outcome(false, encoder.Why().Text().c_str());
    m_encoder = *encoder;
    return {};
}

Problem FlacWriter::Write(std::span<const uint8_t> pcm)
{
    const int bits = m_format.nBitsPerSample;
    const size_t bytes = static_cast<size_t>(bits / 8);
    m_samples.resize(pcm.size() / bytes);
    for (size_t i = 0; i < m_samples.size(); ++i)
        m_samples[i] = Sample(&pcm[i * bytes], bits);
    const auto count = static_cast<sf_count_t>(m_samples.size());
    const bool written = sf_write_int(m_encoder, m_samples.data(), count) == count;
    return Outcome(written, sf_strerror(m_encoder));
}

Problem FlacWriter::End()
{
    if (m_inMetadata) // without samples nothing has made the encoder begin
        sf_command(m_encoder, SFC_UPDATE_HEADER_NOW, nullptr, 0);
    const int result = sf_close(std::exchange(m_encoder, nullptr));
    return Outcome(result == 0 && !m_inMetadata, sf_error_number(result));
}

// What an encoder's call has come to: a problem met on the way explains it best.
Problem FlacWriter::Outcome(bool done, const char* reason) const
{
    if (m_problem || done)
        return m_problem;
    return Problem(reason).About("cannot be written as FLAC");
}

// What goes back corrects the stream information, which keeps its place. A direct output
// cannot go back: a reader of its stream finds length and checksum unknown.
bool FlacWriter::Take(std::span<const uint8_t> bytes)
{
    if (m_problem || m_discarded)
        return false;
    const int64_t position = m_position;
    m_position += std::ssize(bytes);
    const bool goesBack = position < m_length;
    m_length = std::max(m_length, m_position);
    if (m_inMetadata)
        m_problem = TakeMetadata(bytes);
    else if (!goesBack)
        m_problem = m_output.Write(bytes);
    else if (!m_output.IsDirect())
        m_problem = m_output.WriteAt(position, bytes);
    return !m_problem;
}

Problem FlacWriter::TakeMetadata(std::span<const uint8_t> bytes)
{
    m_metadata.insert(m_metadata.end(), bytes.begin(), bytes.end());
    size_t commentStart = 0;
    size_t commentEnd = 0;
    for (size_t start = kMarkSize; start + kBlockHeader <= m_metadata.size();) {
        const uint8_t* header = &m_metadata[start];
        const size_t end =
            start + kBlockHeader + (size_t{header[1]} << 16 | size_t{header[2]} << 8 | header[3]);
        if (end > m_metadata.size())
            return {}; // more is to come
        if ((header[0] & ~kLastBlock) == kCommentBlock) {
            commentStart = start + kBlockHeader;
            commentEnd = end;
        }
        if ((header[0] & kLastBlock) != 0)
            return WriteMetadata(commentStart, commentEnd);
        start = end;
    }
    return {};
}

Problem FlacWriter::WriteMetadata(size_t commentStart, size_t commentEnd)
{
    m_inMetadata = false;
    const std::span<const uint8_t> all = m_metadata;
    const auto comment = all.subspan(commentStart, commentEnd - commentStart);
    const Result<TagBytes> tags = FlacTagBlocks(m_tags, comment);
    if (!tags)
        return tags.Why();
    m_notes = tags->notes;
    m_metadata[kMarkSize] &= static_cast<uint8_t>(~kLastBlock);
    if (Problem problem = m_output.Write(all.first(kStreamInfoEnd)))
        return problem;
    return m_output.Write(tags->bytes);
}

} // namespace aiff::host
