#include "host/WavHeader.h"

#include <algorithm>
#include <limits>
#include <sndfile.h>

namespace host
{
namespace
{

// Room for everything in a RIFF file but the samples.
constexpr int64_t kMaxHeaderSize = 4096;

// A file in memory that takes a header and claims to hold the samples already, so
// that libsndfile enters their size.
struct HeaderSink {
    std::vector<uint8_t> bytes;
    int64_t position = 0;
    int64_t pcmBytes = 0;
};

sf_count_t SinkLength(void* user)
{
    const auto* sink = static_cast<const HeaderSink*>(user);
    return static_cast<int64_t>(sink->bytes.size()) + sink->pcmBytes;
}

sf_count_t SinkSeek(sf_count_t offset, int whence, void* user)
{
    auto* sink = static_cast<HeaderSink*>(user);
    const int64_t base = whence == SEEK_SET ? 0
                         : whence == SEEK_CUR ? sink->position
                                              : SinkLength(user);
    sink->position = base + offset;
    return sink->position;
}

sf_count_t SinkRead(void*, sf_count_t, void*)
{
    return 0;
}

sf_count_t SinkWrite(const void* data, sf_count_t count, void* user)
{
    auto* sink = static_cast<HeaderSink*>(user);
    const int64_t end = sink->position + count;
    if (sink->position < 0 || end > kMaxHeaderSize)
        return count; // behind the header: not kept
    if (end > static_cast<int64_t>(sink->bytes.size()))
        sink->bytes.resize(static_cast<size_t>(end));
    std::copy_n(static_cast<const uint8_t*>(data), count, sink->bytes.begin() + sink->position);
    sink->position = end;
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

bool FitsWav(const STQvWaveFormat& format, std::string& why)
{
    const int bits = format.nBitsPerSample;
    if (format.nFormatTag != QV_FORMAT_PCM)
        why = "holds no integer PCM";
    else if (SampleFormat(bits) == 0)
        why = "has samples of " + std::to_string(bits) +
              " bits (only 8, 16, 24 and 32 can be written)";
    else if (format.nChannels == 0 || format.nBlockAlign != format.nChannels * bits / 8)
        why = "has an impossible number of channels (" + std::to_string(format.nChannels) + ")";
    else if (format.nSamplesPerSec == 0)
        why = "has a sample rate of 0";
    return why.empty();
}

// The pad byte belongs to the size of the whole file, which stands at a fixed place.
void CountPadByte(std::vector<uint8_t>& header, bool large)
{
    const size_t lowByte = large ? 20 : 4;
    for (size_t i = lowByte; i < header.size() && ++header[i] == 0; ++i) {
    }
}

} // namespace

std::vector<uint8_t> WavHeader(const STQvWaveFormat& format, int64_t pcmBytes, std::string& why)
{
    if (!FitsWav(format, why))
        return {};
    const bool large = pcmBytes > std::numeric_limits<uint32_t>::max() - kMaxHeaderSize;
    SF_INFO info{};
    info.samplerate = static_cast<int>(
        std::min<uint32_t>(format.nSamplesPerSec, std::numeric_limits<int>::max()));
    info.channels = format.nChannels;
    info.format = (large ? SF_FORMAT_RF64 : SF_FORMAT_WAV) | SampleFormat(format.nBitsPerSample);
    SF_VIRTUAL_IO io{SinkLength, SinkSeek, SinkRead, SinkWrite, SinkTell};
    HeaderSink sink;
    SNDFILE* file = sf_open_virtual(&io, SFM_WRITE, &info, &sink);
    if (file == nullptr) {
        why = std::string("cannot be written as WAV: ") + sf_strerror(nullptr);
        return {};
    }
    sink.pcmBytes = pcmBytes;
    sf_command(file, SFC_UPDATE_HEADER_NOW, nullptr, 0);
    std::vector<uint8_t> header = sink.bytes;
    sf_close(file);
    if (pcmBytes % 2 != 0)
        CountPadByte(header, large);
    return header;
}

} // namespace host
