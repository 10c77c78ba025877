#include "host/writers/WavHeader.h"

#include <algorithm>
#include <limits>
#include <sndfile.h>
#include <string_view>

namespace aiff::host
{
namespace
{

// Room for everything in a RIFF file but the samples.
constexpr int64_t kMaxHeaderSize = 4096;

// A file in memory that has the length of the whole WAV file, but keeps only what comes
// before the samples.
struct HeaderSink {
    std::vector<uint8_t> bytes;
    int64_t limit = kMaxHeaderSize;
    int64_t position = 0;
    int64_t length = 0;
};

sf_count_t SinkLength(void* user)
{
    return static_cast<const HeaderSink*>(user)->length;
}

sf_count_t SinkSeek(sf_count_t offset, int whence, void* user)
{
    auto* sink = static_cast<HeaderSink*>(user);
    if (whence == SEEK_CUR)
        offset += sink->position;
    else if (whence == SEEK_END)
        offset += sink->length;
    sink->position = offset;
    return offset;
}

sf_count_t SinkRead(void*, sf_count_t, void*)
{
    return 0;
}

sf_count_t SinkWrite(const void* data, sf_count_t count, void* user)
{
    auto* sink = static_cast<HeaderSink*>(user);
    const int64_t start = sink->position;
    sink->position += count;
    sink->length = std::max(sink->length, sink->position);
    if (start >= 0 && sink->position <= sink->limit) {
        sink->bytes.resize(static_cast<size_t>(std::min(sink->length, sink->limit)));
        std::copy_n(static_cast<const uint8_t*>(data), count, sink->bytes.begin() + start);
    }
    return count;
}

sf_count_t SinkTell(void* user)
{
    return static_cast<HeaderSink*>(user)->position;
}

int SampleFormat(int bits)
{
    switch (bits) {
    case 8:
        return SF_FORMAT_PCM_U8;
    case 16:
        return SF_FORMAT_PCM_16;
    case 24:
        return SF_FORMAT_PCM_24;
    case 32:
        return SF_FORMAT_PCM_32;
    default:
        return 0;
    }
}

// Why the format fits no WAV file.
Problem FormatProblem(const STQvWaveFormat& format)
{
    const int bits = format.nBitsPerSample;
    if (format.nFormatTag != QV_FORMAT_PCM)
        return "holds no integer PCM";
    if (SampleFormat(bits) == 0)
        return "has samples of " + std::to_string(bits) +
               " bits (only 8, 16, 24 and 32 can be written)";
    if (format.nChannels == 0 || format.nBlockAlign != format.nChannels * bits / 8)
        return "has an impossible number of channels (" + std::to_string(format.nChannels) + ")";
    return format.nSamplesPerSec == 0 ? "has a sample rate of 0" : Problem();
}

// Either kind of header has sizes of its own.
enum class WavKind { Classic, Rf64 };

// Makes the file as long as all samples would: only the last frame is written.
bool WriteLastFrame(SNDFILE* file, const STQvWaveFormat& format, int64_t pcmBytes)
{
    const int64_t frames = pcmBytes / format.nBlockAlign;
    if (frames == 0)
        return true;
    const std::vector<uint8_t> frame(format.nBlockAlign);
    const auto size = static_cast<sf_count_t>(frame.size());
    return sf_seek(file, frames - 1, SEEK_SET) == frames - 1 &&
           sf_write_raw(file, frame.data(), size) == size;
}

constexpr int64_t kMaxClassic = std::numeric_limits<uint32_t>::max();
// Offsets in the header, in bytes from its start unless the name says otherwise.
constexpr size_t kRiffSize = 4;
constexpr size_t kRf64Chunk = 12; // "ds64", its size and these
constexpr size_t kRf64RiffSize = 20;
constexpr size_t kRf64ChunkSize = 28;
constexpr size_t kDataSizeFromEnd = 4;

void PutText(std::vector<uint8_t>& header, size_t place, std::string_view text)
{
    std::copy(text.begin(), text.end(), header.begin() + static_cast<ptrdiff_t>(place));
}

void PutNumber(std::vector<uint8_t>& header, size_t place, int64_t value, size_t bytes)
{
    for (size_t i = 0; i < bytes; ++i)
        header[place + i] = static_cast<uint8_t>(value >> (8 * i));
}

// The header that libsndfile writes for a file that ends with the samples.
Result<std::vector<uint8_t>> BareHeader(const STQvWaveFormat& format, int64_t pcmBytes,
                                        WavKind kind)
{
    SF_INFO info{};
    info.samplerate = static_cast<int>(
        std::min<uint32_t>(format.nSamplesPerSec, std::numeric_limits<int>::max()));
    info.channels = format.nChannels;
    info.format = (kind == WavKind::Rf64 ? SF_FORMAT_RF64 : SF_FORMAT_WAV) |
                  SampleFormat(format.nBitsPerSample);
    SF_VIRTUAL_IO io{SinkLength, SinkSeek, SinkRead, SinkWrite, SinkTell};
    HeaderSink sink;
    SNDFILE* file = sf_open_virtual(&io, SFM_WRITE, &info, &sink);
    if (file == nullptr)
        return Problem(sf_strerror(nullptr)).About("cannot be written as WAV");
    sink.limit = sink.length;
    const bool written = WriteLastFrame(file, format, pcmBytes);
    const bool closed = sf_close(file) == 0; // enters the sizes
    if (!written || !closed)
        return Problem("cannot be written as WAV");
    return std::move(sink.bytes);
}

bool NeedsRf64(int64_t pcmBytes, int64_t chunksAfter)
{
    return pcmBytes > kMaxClassic - kMaxHeaderSize - chunksAfter;
}

int64_t RiffSize(size_t headerSize, int64_t pcmBytes, int64_t chunksAfter)
{
    constexpr int64_t kChunkHeader = 8;
    return static_cast<int64_t>(headerSize) - kChunkHeader + pcmBytes + pcmBytes % 2 + chunksAfter;
}

// Turns an RF64 header into a classic one: its own chunk becomes one that every reader
// skips.
void MakeClassic(std::vector<uint8_t>& header, int64_t riffSize, int64_t pcmBytes)
{
    PutText(header, 0, "RIFF");
    PutNumber(header, kRiffSize, riffSize, 4);
    PutText(header, kRf64Chunk, "JUNK");
    PutNumber(header, kRf64Chunk + 4, kRf64ChunkSize, 4);
    std::fill_n(header.begin() + kRf64RiffSize, kRf64ChunkSize, uint8_t{0});
    PutNumber(header, header.size() - kDataSizeFromEnd, pcmBytes, 4);
}

} // namespace

Result<std::vector<uint8_t>> WavHeader(const STQvWaveFormat& format, int64_t pcmBytes,
                                       int64_t chunksAfter)
{
    if (Problem problem = FormatProblem(format))
        return problem;
    const bool large = NeedsRf64(pcmBytes, chunksAfter);
    auto header = BareHeader(format, pcmBytes, large ? WavKind::Rf64 : WavKind::Classic);
    if (!header)
        return header;
    const int64_t riffSize = RiffSize(header->size(), pcmBytes, chunksAfter);
    PutNumber(*header, large ? kRf64RiffSize : kRiffSize, riffSize, large ? 8 : 4);
    return header;
}

Result<std::vector<uint8_t>> RoomyWavHeader(const STQvWaveFormat& format, int64_t pcmBytes,
                                            int64_t chunksAfter)
{
    if (NeedsRf64(pcmBytes, chunksAfter))
        return WavHeader(format, pcmBytes, chunksAfter);
    if (Problem problem = FormatProblem(format))
        return problem;
    auto header = BareHeader(format, 0, WavKind::Rf64);
    if (!header)
        return header;
    const bool known = pcmBytes != kUnknownLength;
    const int64_t riffSize = RiffSize(header->size(), pcmBytes, chunksAfter);
    MakeClassic(*header, known ? riffSize : kMaxClassic, known ? pcmBytes : kMaxClassic);
    return header;
}

} // namespace aiff::host
