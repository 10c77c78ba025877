#include "Ways.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sndfile.h>
#include <span>
#include <unistd.h>
#include <vector>

namespace
{

constexpr size_t kBufferBytes = 65536; // for every way the same

// FNV-1a, over the bytes in the order in which they come.
class Checksum
{
public:
    void Add(std::span<const uint8_t> bytes)
    {
        for (const uint8_t byte : bytes)
            m_pcm.checksum = (m_pcm.checksum ^ byte) * 0x100000001B3u;
        m_pcm.bytes += static_cast<int64_t>(bytes.size());
    }
    Pcm Result() const { return m_pcm; }

private:
    Pcm m_pcm{0, 0xCBF29CE484222325u};
};

// Runs the plug-in over a file and hands every block to `take`.
template <class Take>
void DecodeByPlugin(const Plugin& plugin, const FileName& file, Take&& take)
{
    void* decoder = plugin.Create(nullptr);
    STQvOpenDecoder open = {};
    open.pFileName = file.wide.c_str();
    open.nFlags = QV_OPEN_PREPARE_DECODE;
    if (decoder == nullptr || plugin.Open(decoder, &open) != 1)
        Fail("the plug-in cannot open " + file.bytes);
    STQvAudioBlock block = {};
    while (block.nLastBlock == 0) {
        block = {};
        if (plugin.DecodeBlock(decoder, &block) != 1)
            Fail("the plug-in cannot decode " + file.bytes);
        take(std::span(block.pData, block.nDataSize));
    }
    STQvEncoderFluid fluid = {};
    plugin.Close(decoder, &fluid);
    plugin.Destroy(decoder);
}

// An open file of libsndfile.
class Sound
{
public:
    explicit Sound(const FileName& file) : m_file(sf_open(file.bytes.c_str(), SFM_READ, &m_info))
    {
        if (m_file == nullptr)
            Fail("libsndfile cannot open " + file.bytes);
    }
    Sound(const Sound&) = delete;
    Sound& operator=(const Sound&) = delete;
    ~Sound() { sf_close(m_file); }

    int SampleBytes() const
    {
        const int subtype = m_info.format & SF_FORMAT_SUBMASK;
        if (subtype < SF_FORMAT_PCM_S8 || subtype > SF_FORMAT_PCM_32)
            Fail("libsndfile sees no integer samples");
        return subtype - SF_FORMAT_PCM_S8 + 1;
    }
    int64_t PcmBytes() const { return m_info.frames * m_info.channels * SampleBytes(); }

    // Reads everything into the narrowest type that holds a sample: short for 8 and
    // 16 bits, int for more. libsndfile aligns narrower samples to the top.
    template <class Take>
    void Read(Take&& take)
    {
        if (SampleBytes() <= 2)
            ReadAs<short>(sf_readf_short, take);
        else
            ReadAs<int>(sf_readf_int, take);
    }

private:
    template <class Sample, class ReadFrames, class Take>
    void ReadAs(ReadFrames readFrames, Take& take)
    {
        std::vector<Sample> buffer(kBufferBytes / sizeof(Sample));
        const auto channels = static_cast<size_t>(m_info.channels);
        const auto most = static_cast<sf_count_t>(buffer.size() / channels);
        for (;;) {
            const sf_count_t frames = readFrames(m_file, buffer.data(), most);
            if (frames <= 0)
                break;
            take(std::span<const Sample>(buffer).first(static_cast<size_t>(frames) * channels));
        }
    }

    SF_INFO m_info = {};
    SNDFILE* m_file;
};

} // namespace

void Fail(const std::string& reason)
{
    std::fprintf(stderr, "bench: %s\n", reason.c_str());
    std::exit(1);
}

Plugin::Plugin(const char* path)
{
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        Fail(dlerror());
#define BENCH_LOOKUP(name, type)                                                                   \
    name = reinterpret_cast<type>(dlsym(library, #name));                                          \
    if (name == nullptr)                                                                           \
        Fail(std::string("no function " #name " in ") + path);
    QV_DECODER_FUNCTIONS(BENCH_LOOKUP)
#undef BENCH_LOOKUP
}

int64_t ReadPlain(const FileName& file)
{
    std::vector<uint8_t> buffer(kBufferBytes);
    const int fd = open(file.bytes.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        Fail("cannot open " + file.bytes);
    int64_t bytes = 0;
    ssize_t count = 0;
    while ((count = read(fd, buffer.data(), buffer.size())) > 0)
        bytes += count;
    close(fd);
    return bytes;
}

int64_t ReadByPlugin(const Plugin& plugin, const FileName& file)
{
    int64_t bytes = 0;
    DecodeByPlugin(plugin, file, [&](std::span<const uint8_t> pcm) {
        bytes += static_cast<int64_t>(pcm.size());
    });
    return bytes;
}

int64_t ReadBySndfile(const FileName& file)
{
    Sound sound(file);
    int64_t samples = 0;
    sound.Read([&](auto pcm) { samples += static_cast<int64_t>(pcm.size()); });
    return samples * sound.SampleBytes();
}

Pcm PcmOfPlugin(const Plugin& plugin, const FileName& file)
{
    Checksum sum;
    DecodeByPlugin(plugin, file, [&](std::span<const uint8_t> pcm) { sum.Add(pcm); });
    return sum.Result();
}

Pcm PcmOfSndfile(const FileName& file)
{
    Sound sound(file);
    const auto width = static_cast<size_t>(sound.SampleBytes());
    Checksum sum;
    std::vector<uint8_t> bytes;
    sound.Read([&](auto pcm) {
        bytes.resize(pcm.size() * width);
        for (size_t i = 0; i < pcm.size(); ++i) {
            const auto* top = reinterpret_cast<const uint8_t*>(&pcm[i]) + sizeof(pcm[i]) - width;
            std::memcpy(&bytes[i * width], top, width);
            if (width == 1)
                bytes[i] ^= 0x80;
        }
        sum.Add(bytes);
    });
    return sum.Result();
}

int64_t OpenByPlugin(const Plugin& plugin, const FileName& file, uint32_t flags, int& tagged)
{
    void* decoder = plugin.Create(nullptr);
    STQvOpenDecoder open = {};
    open.pFileName = file.wide.c_str();
    open.nFlags = flags;
    if (decoder == nullptr || plugin.Open(decoder, &open) != 1)
        Fail("the plug-in cannot open " + file.bytes);
    if ((flags & QV_OPEN_PROPERTIES) != 0 && open.nPropertiesDataSize == 0)
        Fail("the plug-in tells no properties of " + file.bytes);
    if (open.pTagData != nullptr)
        ++tagged;
    STQvEncoderFluid fluid = {};
    plugin.Close(decoder, &fluid);
    plugin.Destroy(decoder);
    return open.AudioInfo.nLengthBytes;
}

int64_t OpenBySndfile(const FileName& file)
{
    return Sound(file).PcmBytes();
}
