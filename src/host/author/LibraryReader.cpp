// SPDX-License-Identifier: MIT
#include "host/author/LibraryReader.h"

#include "host/writers/OpenSndfile.h"

#include <algorithm>
#include <bit>
#include <string_view>
#include <utility>

namespace aiff::host
{
namespace
{

constexpr int kFullBits = 32;
constexpr int64_t kBlockFrames = 4096;

// Bits of the samples that become of a libsndfile subtype: 16 of what is companded or packed.
struct Output {
    int subtype;
    uint16_t formatTag;
    int bits;
};
constexpr Output kOutputs[] = {
    {SF_FORMAT_PCM_S8, QV_FORMAT_PCM, 8},   {SF_FORMAT_PCM_U8, QV_FORMAT_PCM, 8},
    {SF_FORMAT_PCM_16, QV_FORMAT_PCM, 16},  {SF_FORMAT_PCM_24, QV_FORMAT_PCM, 24},
    {SF_FORMAT_PCM_32, QV_FORMAT_PCM, 32},  {SF_FORMAT_FLOAT, kFormatFloat, 32},
    {SF_FORMAT_DOUBLE, kFormatFloat, 64},   {SF_FORMAT_ULAW, QV_FORMAT_PCM, 16},
    {SF_FORMAT_ALAW, QV_FORMAT_PCM, 16},    {SF_FORMAT_GSM610, QV_FORMAT_PCM, 16},
    {SF_FORMAT_DWVW_12, QV_FORMAT_PCM, 16}, {SF_FORMAT_DWVW_16, QV_FORMAT_PCM, 16},
    {SF_FORMAT_DWVW_24, QV_FORMAT_PCM, 24}};

void Put(std::vector<uint8_t>& out, std::string_view text)
{
    out.insert(out.end(), text.begin(), text.end());
}

void PutNumber(std::vector<uint8_t>& out, int64_t value, int bytes)
{
    while (bytes-- > 0)
        out.push_back(static_cast<uint8_t>(value >> 8 * bytes));
}

} // namespace

void LibraryReader::MakeHeader()
{
    const SoundLayout& layout = m_source->Layout();
    const Coding& coding = *layout.coding;
    const int bits = coding.bits == 0          ? (layout.bits + 7) / 8 * 8
                     : coding.bits == kOwnBits ? layout.bits
                                               : coding.bits;
    constexpr int kCommon = 24;
    constexpr int kPrefix = 8;
    // 44100 Hz, which does not matter to the samples.
    constexpr std::string_view kRate("\x40\x0E\xAC\x44\0\0\0\0\0\0", 10);
    Put(m_header, "FORM");
    PutNumber(m_header, 4 + 8 + kCommon + 8 + kPrefix + layout.bytes, 4);
    Put(m_header, "AIFCCOMM");
    PutNumber(m_header, kCommon, 4);
    PutNumber(m_header, m_source->Format().nChannels, 2);
    PutNumber(m_header, layout.frames, 4);
    PutNumber(m_header, bits, 2);
    Put(m_header, kRate);
    Put(m_header, coding.library);
    PutNumber(m_header, 0, 2); // no name
    Put(m_header, "SSND");
    PutNumber(m_header, kPrefix + layout.bytes, 4);
    PutNumber(m_header, 0, kPrefix);
}

sf_count_t LibraryReader::ReadBytes(void* out, sf_count_t count)
{
    const int64_t size = std::ssize(m_header) + m_source->Layout().bytes;
    const int64_t wanted = std::clamp<int64_t>(size - m_position, 0, count);
    const std::span bytes(static_cast<uint8_t*>(out), static_cast<size_t>(wanted));
    const auto start = static_cast<size_t>(std::min<int64_t>(m_position, std::ssize(m_header)));
    const size_t inHeader = std::min(bytes.size(), m_header.size() - start);
    std::copy_n(m_header.begin() + static_cast<ptrdiff_t>(start), inHeader, bytes.begin());
    const int64_t inSound = std::max<int64_t>(m_position - std::ssize(m_header), 0);
    const size_t read =
        m_source->File().ReadAt(m_source->Layout().position + inSound, bytes.subspan(inHeader));
    const auto total = static_cast<sf_count_t>(inHeader + read);
    m_position += total;
    return total;
}

SF_VIRTUAL_IO LibraryReader::FileFunctions()
{
    SF_VIRTUAL_IO io{};
    io.get_filelen = [](void* user) -> sf_count_t {
        const auto* self = static_cast<LibraryReader*>(user);
        return std::ssize(self->m_header) + self->m_source->Layout().bytes;
    };
    io.seek = [](sf_count_t offset, int whence, void* user) -> sf_count_t {
        auto* self = static_cast<LibraryReader*>(user);
        if (whence == SEEK_CUR)
            offset += self->m_position;
        else if (whence == SEEK_END)
            offset += std::ssize(self->m_header) + self->m_source->Layout().bytes;
        return self->m_position = std::max<sf_count_t>(offset, 0);
    };
    io.read = [](void* out, sf_count_t count, void* user) -> sf_count_t {
        return static_cast<LibraryReader*>(user)->ReadBytes(out, count);
    };
    io.write = [](const void*, sf_count_t, void*) -> sf_count_t { return 0; };
    io.tell = [](void* user) -> sf_count_t {
        return static_cast<LibraryReader*>(user)->m_position;
    };
    return io;
}

Problem LibraryReader::Open(std::shared_ptr<const AiffSource> source, FrameRange range)
{
    m_source = std::move(source);
    MakeHeader();
    SF_VIRTUAL_IO io = FileFunctions();
    const auto file = OpenSndfile([&] { return sf_open_virtual(&io, SFM_READ, &m_info, this); });
    if (!file)
        return file.Why();
    m_file.reset(*file);
    if (!ChooseFormat())
        return "holds a kind of samples that cannot be written";
    m_end = range.end == QV_RANGE_TO_END ? m_info.frames : std::min(range.end, m_info.frames);
    m_first = std::min(range.first, m_end);
    if (m_first != 0 && !GoTo(m_first))
        return Failure();
    m_frame = m_first;
    return {};
}

bool LibraryReader::ChooseFormat()
{
    const auto* const output =
        std::ranges::find(kOutputs, m_info.format & SF_FORMAT_SUBMASK, &Output::subtype);
    if (output == std::end(kOutputs) || m_info.channels != m_source->Format().nChannels)
        return false;
    m_format = m_source->Format();
    m_format.nFormatTag = output->formatTag;
    m_format.nBitsPerSample = static_cast<uint16_t>(output->bits);
    m_format.nBlockAlign = static_cast<uint16_t>(m_info.channels * output->bits / 8);
    m_format.nAvgBytesPerSec = m_format.nSamplesPerSec * m_format.nBlockAlign;
    const SoundLayout& layout = m_source->Layout();
    if (layout.coding->bits == 0 && layout.bits % 8 != 0)
        m_unusedBits = (uint32_t{1} << (kFullBits - layout.bits)) - 1;
    return true;
}

// A seek among packets would lose what their decoder remembers.
bool LibraryReader::GoTo(int64_t frame)
{
    if (m_source->Layout().coding->unitFrames == 1 && m_source->Layout().coding->unitBytes >= 0)
        return sf_seek(m_file.get(), frame, SEEK_SET) == frame;
    int64_t passed = 0;
    for (int64_t read = 1; passed < frame && read > 0; passed += read)
        read = ReadFrames(std::min(frame - passed, kBlockFrames));
    return passed == frame;
}

// Samples arrive in the high bits of an int, whatever their width.
void LibraryReader::TakeIntegers(size_t samples)
{
    const size_t width = m_format.nBitsPerSample / 8U;
    constexpr uint32_t kSign = 0x80000000;
    uint8_t* out = m_pcm.data();
    for (size_t i = 0; i < samples; ++i) {
        auto value = static_cast<uint32_t>(m_integers[i]);
        m_unused |= value & m_unusedBits;
        value ^= width == 1 ? kSign : 0;
        for (size_t k = 0; k < width; ++k)
            *out++ = static_cast<uint8_t>(value >> (kFullBits - 8 * (width - k)));
    }
}

// Reads frames into m_pcm. Returns how many.
int64_t LibraryReader::ReadFrames(int64_t frames)
{
    static_assert(std::endian::native == std::endian::little);
    const auto samples = static_cast<size_t>(frames * m_info.channels);
    m_pcm.resize(static_cast<size_t>(frames) * m_format.nBlockAlign);
    if (m_format.nFormatTag == kFormatFloat && m_format.nBitsPerSample == kFullBits)
        return sf_readf_float(m_file.get(), reinterpret_cast<float*>(m_pcm.data()), frames);
    if (m_format.nFormatTag == kFormatFloat)
        return sf_readf_double(m_file.get(), reinterpret_cast<double*>(m_pcm.data()), frames);
    m_integers.resize(samples);
    const int64_t read = sf_readf_int(m_file.get(), m_integers.data(), frames);
    if (read > 0)
        TakeIntegers(static_cast<size_t>(read * m_info.channels));
    return read;
}

PcmReader::Step LibraryReader::Next(std::span<const uint8_t>& pcm)
{
    if (m_frame >= m_end)
        return Step::End;
    const int64_t read = ReadFrames(std::min(m_end - m_frame, kBlockFrames));
    if (read <= 0)
        return Step::Failed;
    m_frame += read;
    pcm = std::span(m_pcm).first(static_cast<size_t>(read) * m_format.nBlockAlign);
    return Step::Block;
}

std::string LibraryReader::Note() const
{
    return m_unused == 0 ? ""
                         : "has bits below the " + std::to_string(m_source->Layout().bits) +
                               " of its samples that are not zero, which are kept";
}

} // namespace aiff::host
