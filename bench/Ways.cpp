// SPDX-License-Identifier: MIT
#include "Ways.h"

#include "Session.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sndfile.h>
#include <span>
#include <unistd.h>
#include <vector>

namespace
{

constexpr size_t kBufferBytes = 65536;
constexpr size_t kPageBytes = 4096;

// The buffer of read() and libsndfile. How fast the system copies depends on where
// source and target are within their pages; this is a fast place for data that starts
// with the file or after a short header.
uint8_t* Buffer()
{
    alignas(kPageBytes) static uint8_t pages[kBufferBytes + kPageBytes];
    return pages + kPageBytes - 100;
}

// Turns big-endian samples of `width` bytes into PCM in place, in the loops that one writes first.
template <class Word, class Swap>
void SwapWords(std::span<uint8_t> bytes, Swap swap)
{
    for (size_t i = 0; i + sizeof(Word) <= bytes.size(); i += sizeof(Word)) {
        Word word;
        std::memcpy(&word, &bytes[i], sizeof word);
        word = swap(word);
        std::memcpy(&bytes[i], &word, sizeof word);
    }
}

void SwapPlainly(std::span<uint8_t> bytes, int width)
{
    if (width == 1)
        SwapWords<uint8_t>(bytes, [](uint8_t sample) { return uint8_t(sample ^ 0x80); });
    else if (width == 2)
        SwapWords<uint16_t>(bytes, [](uint16_t sample) { return __builtin_bswap16(sample); });
    else if (width == 4)
        SwapWords<uint32_t>(bytes, [](uint32_t sample) { return __builtin_bswap32(sample); });
    else
        for (size_t i = 0; i + 3 <= bytes.size(); i += 3)
            std::swap(bytes[i], bytes[i + 2]);
}

// A file open in libsndfile.
class Sound
{
public:
    explicit Sound(const std::string& file) : m_file(sf_open(file.c_str(), SFM_READ, &m_info))
    {
        if (m_file == nullptr)
            Fail("libsndfile cannot open " + file);
    }
    Sound(const Sound&) = delete;
    Sound& operator=(const Sound&) = delete;
    ~Sound() { sf_close(m_file); }

    // The subtypes of integer samples are 1 to 4.
    int SampleBytes() const { return m_info.format & SF_FORMAT_SUBMASK; }
    int64_t PcmBytes() const { return m_info.frames * m_info.channels * SampleBytes(); }

    // Reads into the narrowest type that holds a sample: short for 8 and 16 bits, int
    // for more.
    int64_t Decode(uint64_t* sum)
    {
        return SampleBytes() <= 2 ? DecodeAs<short>(sf_readf_short, sum)
                                  : DecodeAs<int>(sf_readf_int, sum);
    }

    // Reads the file's own bytes, and swaps those of big-endian samples.
    int64_t DecodeRaw(uint64_t* sum)
    {
        const bool little = (m_info.format & SF_FORMAT_ENDMASK) == SF_ENDIAN_LITTLE;
        const sf_count_t frameBytes = m_info.channels * SampleBytes();
        const auto most = static_cast<sf_count_t>(kBufferBytes) / frameBytes * frameBytes;
        int64_t total = 0;
        sf_count_t count = 0;
        while ((count = sf_read_raw(m_file, Buffer(), most)) > 0) {
            const std::span bytes(Buffer(), static_cast<size_t>(count));
            if (!little)
                SwapPlainly(bytes, SampleBytes());
            if (sum != nullptr)
                AddToSum(*sum, bytes);
            total += count;
        }
        return total;
    }

private:
    template <class Sample>
    int64_t DecodeAs(sf_count_t (*readFrames)(SNDFILE*, Sample*, sf_count_t), uint64_t* sum)
    {
        auto* samples = reinterpret_cast<Sample*>(Buffer());
        const auto channels = static_cast<size_t>(m_info.channels);
        const auto most = static_cast<sf_count_t>(kBufferBytes / sizeof(Sample) / channels);
        size_t total = 0;
        sf_count_t frames = 0;
        while ((frames = readFrames(m_file, samples, most)) > 0) {
            const size_t count = static_cast<size_t>(frames) * channels;
            if (sum != nullptr)
                AddSamples(*sum, samples, count);
            total += count;
        }
        return static_cast<int64_t>(total) * SampleBytes();
    }

    // libsndfile hands narrow samples out in the top bytes of its types.
    template <class Sample>
    void AddSamples(uint64_t& sum, const Sample* samples, size_t count) const
    {
        const auto width = static_cast<size_t>(SampleBytes());
        for (size_t i = 0; i < count; ++i) {
            uint8_t bytes[sizeof(Sample)];
            std::memcpy(bytes, &samples[i], sizeof(Sample));
            if (width == 1)
                bytes[1] ^= 0x80;
            AddToSum(sum, std::span(bytes).last(width));
        }
    }

    SF_INFO m_info = {};
    SNDFILE* m_file;
};

int64_t ReadPlain(const std::string& file)
{
    const int fd = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        Fail("cannot open " + file);
    int64_t bytes = 0;
    ssize_t count = 0;
    while ((count = read(fd, Buffer(), kBufferBytes)) > 0)
        bytes += count;
    close(fd);
    return bytes;
}

template <class Source>
int64_t SumOf(Source source, int64_t (Source::*decode)(uint64_t*))
{
    uint64_t sum = 0xCBF29CE484222325u;
    (void)(source.*decode)(&sum);
    return static_cast<int64_t>(sum);
}

} // namespace

void Fail(const std::string& reason)
{
    std::fprintf(stderr, "bench: %s\n", reason.c_str());
    std::exit(1);
}

std::map<std::string, Way> AllWays(const std::string& pluginPath)
{
    const auto session = [pluginPath](const std::string& file, uint32_t flags) {
        static const Plugin plugin(pluginPath);
        return Session(plugin, file, flags);
    };
    constexpr uint32_t kTexts = QV_OPEN_READ_TAGS | QV_OPEN_PROPERTIES;
    std::map<std::string, Way> ways = {
        {"read", ReadPlain},
        {"plugin", [=](auto& file) { return session(file, 0).Decode(nullptr); }},
        {"libsndfile", [](auto& file) { return Sound(file).Decode(nullptr); }},
        {"libsndfile_raw", [](auto& file) { return Sound(file).DecodeRaw(nullptr); }},
        {"sum_plugin", [=](auto& file) { return SumOf(session(file, 0), &Session::Decode); }},
        {"sum_libsndfile", [](auto& file) { return SumOf(Sound(file), &Sound::Decode); }},
        {"sum_libsndfile_raw", [](auto& file) { return SumOf(Sound(file), &Sound::DecodeRaw); }},
        {"open_1_16", [=](auto& file) { return session(file, QV_OPEN_PROPERTIES).PcmBytes(); }},
        {"open_1_8_16", [=](auto& file) { return session(file, kTexts).PcmBytes(); }},
        {"open_libsndfile", [](auto& file) { return Sound(file).PcmBytes(); }},
        {"tags", [=](auto& file) { return session(file, kTexts).Tags(); }},
    };
    ways.merge(TagWays(pluginPath));
    ways.merge(BareWays());
    return ways;
}
