#include "host/author/SndfileSource.h"

#include "aiff/AIFFHandler.h"
#include "host/author/SourceTags.h"
#include "host/session/Reason.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

// Bits of a sample; 0 for anything but integer PCM of whole bytes.
int IntegerBits(int format)
{
    switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
        return 8;
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_ALAC_16:
        return 16;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_ALAC_24:
        return 24;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_32:
        return 32;
    default:
        return 0;
    }
}

std::string SubtypeName(int format)
{
    SF_FORMAT_INFO info{};
    info.format = format & SF_FORMAT_SUBMASK;
    const bool known = sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info) == 0;
    return known && info.name != nullptr ? info.name : "an unknown coding";
}

// Containers whose sound data is the bare little-endian samples.
bool HoldsBareSamples(SNDFILE* file, int format)
{
    switch (format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_WAV:
    case SF_FORMAT_WAVEX:
    case SF_FORMAT_RF64:
    case SF_FORMAT_W64:
        return sf_command(file, SFC_RAW_DATA_NEEDS_ENDSWAP, nullptr, 0) == SF_FALSE;
    default:
        return false;
    }
}

} // namespace

Problem SndfileSource::Open(const std::string& path)
{
    SF_INFO info{};
    m_path = path;
    m_file.reset(sf_open(path.c_str(), SFM_READ, &info));
    if (m_file == nullptr)
        return Problem(sf_strerror(nullptr)).About("cannot be read as audio");
    const int bits = IntegerBits(info.format);
    if (bits == 0)
        return "holds " + SubtypeName(info.format) +
               ", and only integer PCM of 8, 16, 24 or 32 bits can be encoded";
    SetFormat(info.channels, info.samplerate, bits);
    m_raw = HoldsBareSamples(m_file.get(), info.format);
    if (info.frames < SF_COUNT_MAX / m_format.nBlockAlign)
        m_expected = info.frames * m_format.nBlockAlign;
    return {};
}

Problem SndfileSource::ListChunks(clPassAIFFChunks& chunks)
{
    const Result<SourceTags> read = ReadSourceTags(m_path, m_file.get());
    if (!read)
        return read.Why();
    const std::vector<uint8_t>& tag = read->id3v2;
    m_notes = read->notes;
    chunks.AddInternal(FourCC(kChunkCommon), nullptr, 0, false);
    chunks.AddInternal(FourCC(kChunkSound), nullptr, 0, false);
    if (!tag.empty())
        chunks.AddInternal(FourCC(kChunkID3), tag.data(), static_cast<uint32_t>(tag.size()), false);
    return {};
}

bool SndfileSource::Read(XMem& block)
{
    return m_raw ? ReadRaw(block) : ReadIntegers(block);
}

bool SndfileSource::ReadRaw(XMem& block)
{
    const size_t size = BlockBytes();
    if (!block.SetUsed(size))
        return false;
    const sf_count_t count = sf_read_raw(m_file.get(), block.Data(), static_cast<sf_count_t>(size));
    // A file that is cut off may end within a frame.
    if (count < 0 || !block.SetUsed(static_cast<size_t>(count - count % m_format.nBlockAlign)))
        return false;
    clAIFFHandler::ByteSwap(block, SampleBits());
    return true;
}

// Samples arrive in the high bits of an int, whatever their width.
bool SndfileSource::ReadIntegers(XMem& block)
{
    const size_t width = static_cast<size_t>(SampleBits()) / 8;
    m_integers.resize(BlockBytes() / width);
    const auto channels = static_cast<sf_count_t>(m_format.nChannels);
    const sf_count_t frames =
        sf_readf_int(m_file.get(), m_integers.data(), std::ssize(m_integers) / channels);
    const auto samples = static_cast<size_t>(std::max<sf_count_t>(frames, 0) * channels);
    if (!block.SetUsed(samples * width))
        return false;
    uint8_t* out = block.Data();
    for (size_t i = 0; i < samples; ++i) {
        const auto value = static_cast<uint32_t>(m_integers[i]);
        for (size_t k = 0; k < width; ++k)
            *out++ = static_cast<uint8_t>(value >> (24 - 8 * k));
    }
    return true;
}

// That a WAV file ends within its data chunk shows only in libsndfile's log. The sizes that
// programs write when they do not know them yet (0, the largest) do not count.
Problem SndfileSource::Damage() const
{
    char log[2048] = {};
    sf_command(m_file.get(), SFC_GET_LOG_INFO, log, sizeof log);
    const std::string text = log;
    const size_t line = text.find("data : ");
    if (!m_raw || line == std::string::npos)
        return {};
    const std::string entry = text.substr(line, text.find('\n', line) - line);
    const unsigned long claim = std::strtoul(entry.c_str() + 7, nullptr, 10);
    constexpr unsigned long kUnknownFrom = 0x7FFFFFFF - 65536;
    if (entry.find("should be") == std::string::npos || claim == 0 || claim >= kUnknownFrom)
        return {};
    return kSoundIsCut;
}

} // namespace aiff::host
