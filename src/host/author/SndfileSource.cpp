// SPDX-License-Identifier: MIT
#include "host/author/SndfileSource.h"

#include "aiff/AIFFHandler.h"
#include "host/author/ContainerSizes.h"
#include "host/author/marks/AiffMarks.h"
#include "host/author/marks/WavMarks.h"
#include "host/author/tags/SourceTags.h"
#include "host/base/Printable.h"
#include "host/writers/OpenSndfile.h"

#include <algorithm>
#include <array>
#include <fcntl.h>

namespace aiff::host
{
namespace
{

constexpr char kOnlyPcm[] = ", and only integer PCM of 8, 16, 24 or 32 bits can be encoded";

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

// 0 for anything but floating-point samples.
int FloatBits(int format)
{
    const int coding = format & SF_FORMAT_SUBMASK;
    return coding == SF_FORMAT_FLOAT ? 32 : coding == SF_FORMAT_DOUBLE ? 64 : 0;
}

std::string SubtypeName(int format)
{
    SF_FORMAT_INFO info{};
    info.format = format & SF_FORMAT_SUBMASK;
    const bool known = sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info) == 0;
    return known && info.name != nullptr ? info.name : "an unknown coding";
}

// Whether the samples are packed by a coding that loses nothing.
bool IsCoded(int format)
{
    const int coding = format & SF_FORMAT_SUBMASK;
    return (format & SF_FORMAT_TYPEMASK) == SF_FORMAT_FLAC ||
           (coding >= SF_FORMAT_ALAC_16 && coding <= SF_FORMAT_ALAC_32);
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

// Where the file itself begins: there may be ID3v2 tags before it.
int64_t StartAfterTags(const FileContent& file)
{
    int64_t position = 0;
    std::array<uint8_t, 10> head{};
    constexpr int kMostTags = 16;
    for (int i = 0; i < kMostTags; ++i) {
        if (file.ReadAt(position, head) < 2 || !std::equal(head.begin(), head.begin() + 3, "ID3"))
            break;
        constexpr int64_t kSizeDigit = 128;
        int64_t size = 0;
        for (size_t at = 6; at < head.size(); ++at)
            size = size * kSizeDigit + head[at] % kSizeDigit;
        position += std::ssize(head) + size;
    }
    return position;
}

// Whether the library would take the file for MPEG audio, which cannot be encoded: its decoder
// for that writes to the terminal.
bool LooksLikeMpeg(const FileContent& file)
{
    std::array<uint8_t, 2> head{};
    return file.ReadAt(StartAfterTags(file), head) == head.size() && head[0] == 0xFF &&
           head[1] >= 0xE0;
}

} // namespace

Problem SndfileSource::Open(const std::string& path, Samples samples)
{
    if (Problem problem = OpenAny(path))
        return problem;
    m_raw = HoldsBareSamples(m_file.get(), m_info.format);
    int bits = IntegerBits(m_info.format);
    if (bits == 0 && m_raw && samples == Samples::Bare)
        bits = FloatBits(m_info.format);
    if (bits == 0)
        return "holds " + SubtypeName(m_info.format) + kOnlyPcm;
    SetFormat(m_info.channels, m_info.samplerate, bits);
    m_coded = IsCoded(m_info.format);
    if (m_info.frames < SF_COUNT_MAX / m_format.nBlockAlign)
        m_expected = m_info.frames * m_format.nBlockAlign;
    return {};
}

// By its descriptor: told the name, the library would try a decoder that the ending suggests.
Problem SndfileSource::OpenAny(const std::string& path)
{
    m_path = path;
    std::error_code error;
    m_content = DiskFile::Open(path, DiskFile::Access::Read, error);
    if (m_content == nullptr)
        return Problem(error.message());
    if (LooksLikeMpeg(*m_content))
        return std::string("holds MPEG audio") + kOnlyPcm;
    const ContainerSizes sizes = ReadContainerSizes(*m_content);
    if (sizes.obstacle)
        return sizes.obstacle;
    // The library closes the descriptor of a file that it refuses, even when told not to.
    const int own = fcntl(m_content->Descriptor(), F_DUPFD_CLOEXEC, 0);
    if (own < 0)
        return Problem::FromErrno().About("cannot be read");
    const auto file = OpenSndfile([&] { return sf_open_fd(own, SFM_READ, &m_info, SF_TRUE); });
    if (!file) {
        // The library does not say that it refuses a file because that is cut off.
        return "cannot be read as audio: " + file.Why().Text() +
               (sizes.damage ? " (it " + sizes.damage.Text() + ")" : "");
    }
    m_file.reset(*file);
    return {};
}

Problem SndfileSource::ListChunks(clPassAIFFChunks& chunks)
{
    const Result<SourceTags> read = ReadSourceTags(m_path, m_file.get());
    if (!read)
        return read.Why();
    const std::vector<uint8_t>& tag = read->id3v2;
    m_notes = read->notes;
    SoundMarks marks = ReadWavMarks(read->marks);
    if (m_info.frames < SF_COUNT_MAX)
        TellMarksBeyond(marks, m_info.frames);
    const std::vector<RawChunk> markChunks = MakeAiffMarks(marks);
    m_notes.insert(m_notes.end(), marks.notes.begin(), marks.notes.end());
    chunks.AddInternal(FourCC(kChunkCommon), nullptr, 0, false);
    for (const auto& [code, data] : markChunks)
        chunks.AddInternal(FourCC(code.c_str()), data.data(), static_cast<uint32_t>(data.size()),
                           false);
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
    clAIFFHandler::ByteSwap(block.View(), SampleBits());
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

Problem SndfileSource::Damage() const
{
    const ContainerSizes sizes = ReadContainerSizes(*m_content);
    const bool isWhole = m_coded || sizes.soundBytes % m_format.nBlockAlign <= 0;
    return sizes.damage || isWhole ? sizes.damage : kEndsWithinFrame;
}

std::string SndfileSource::OwnSum() const
{
    constexpr int64_t kSumOffset = 26; // in the first block of a FLAC file
    std::array<uint8_t, 16> sum{};
    const int64_t start = StartAfterTags(*m_content);
    if ((m_info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_FLAC ||
        m_content->ReadAt(start, std::span(sum).first(4)) != 4 ||
        !std::equal(sum.begin(), sum.begin() + 4, "fLaC") ||
        m_content->ReadAt(start + kSumOffset, sum) != sum.size() ||
        std::ranges::count(sum, 0) == std::ssize(sum)) // where it could not be completed
        return {};
    return Hexadecimal(std::as_bytes(std::span(sum)));
}

bool SndfileSource::HasLastFrame()
{
    const sf_count_t last = m_info.frames - 1;
    std::vector<int> frame(static_cast<size_t>(m_info.channels));
    const bool isKnown = last >= 0 && m_info.frames < SF_COUNT_MAX;
    return !isKnown || (sf_seek(m_file.get(), last, SEEK_SET) == last &&
                        sf_readf_int(m_file.get(), frame.data(), 1) == 1);
}

} // namespace aiff::host
