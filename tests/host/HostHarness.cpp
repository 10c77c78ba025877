#include "HostHarness.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sndfile.h>
#include <sstream>
#include <sys/wait.h>

namespace fs = std::filesystem;

namespace
{

std::string BigEndian(uint32_t value, int bytes)
{
    std::string text;
    for (int i = bytes; i-- > 0;)
        text.push_back(static_cast<char>(value >> (8 * i)));
    return text;
}

std::string Chunk(const std::string& id, const std::string& data)
{
    return id + BigEndian(static_cast<uint32_t>(data.size()), 4) + data +
           std::string(data.size() % 2, '\0');
}

} // namespace

Workplace::Workplace()
{
    std::string name = (fs::temp_directory_path() / "host-test-XXXXXX").string();
    m_folder = mkdtemp(name.data());
    const fs::path decoders = fs::path(Codecs()) / "Codecs" / "Bin" / "decoder";
    fs::create_directories(decoders);
    fs::create_symlink(AIFF_PLUGIN, decoders / "AIFF.so");
    fs::create_symlink(FIXTURE_ROOT "/Codecs/Bin/decoder/scripted.so", decoders / "scripted.so");
}

Workplace::~Workplace()
{
    fs::remove_all(m_folder);
}

void Workplace::Write(const std::string& name, const std::string& bytes) const
{
    std::ofstream(Path(name), std::ios::binary) << bytes;
}

std::string Workplace::Read(const std::string& name) const
{
    std::ostringstream bytes;
    bytes << std::ifstream(Path(name), std::ios::binary).rdbuf();
    return bytes.str();
}

std::vector<std::string> Workplace::Names() const
{
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(m_folder)) {
        const std::string name = entry.path().lexically_relative(m_folder).string();
        if (!name.starts_with(".codecs") && !name.starts_with(".shell"))
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

Outcome Workplace::Run(const std::string& command) const
{
    std::string line = command;
    for (size_t at = line.find('@'); at != std::string::npos; at = line.find('@'))
        line.replace(at, 1, AIFFCONV);
    const std::string shell = "cd '" + m_folder.string() + "' && export QVCODECPATH='" + Codecs() +
                              "' && { " + line + "; } >.shell.out 2>.shell.err";
    const int status = std::system(shell.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Read(".shell.out"), Read(".shell.err")};
}

std::string Aiff(int channels, int bits, const std::string& pcm, const std::string& compression)
{
    const size_t frames = pcm.size() / static_cast<size_t>(channels * bits / 8);
    std::string comm = BigEndian(static_cast<uint32_t>(channels), 2) +
                       BigEndian(static_cast<uint32_t>(frames), 4) +
                       BigEndian(static_cast<uint32_t>(bits), 2) +
                       std::string("\x40\x0E\xAC\x44\0\0\0\0\0\0", 10); // 44100 Hz
    if (!compression.empty())
        comm += compression + std::string("\4Name\0", 6);
    const std::string form = (compression.empty() ? "AIFF" : "AIFC") + Chunk("COMM", comm) +
                             Chunk("SSND", std::string(8, '\0') + pcm);
    return Chunk("FORM", form);
}

std::string Noise(size_t size)
{
    std::minstd_rand random(1);
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random() >> 8);
    return bytes;
}

Samples ReadSamples(const std::string& path)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr)
        return {};
    Samples samples{info.format, info.channels, info.samplerate, {}};
    samples.values.resize(static_cast<size_t>(info.frames * info.channels));
    const sf_count_t read = sf_readf_int(file, samples.values.data(), info.frames);
    samples.values.resize(static_cast<size_t>(read * info.channels));
    sf_close(file);
    return samples;
}
