#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// What a program left behind.
struct Outcome {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// A folder of its own for one test, which removes it, with a codec folder that
// holds the real plug-in and the scripted one.
class Workplace
{
public:
    Workplace();
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;
    ~Workplace();

    std::string Path(const std::string& name) const { return (m_folder / name).string(); }
    std::string Codecs() const { return Path(".codecs"); }
    void Write(const std::string& name, const std::string& bytes) const;
    std::string Read(const std::string& name) const;
    // Names of all files and folders, sorted; those with a leading dot only when
    // they are left-overs.
    std::vector<std::string> Names() const;

    // Runs `command` in the folder through the shell; "@" stands for aiffconv.
    Outcome Run(const std::string& command) const;

private:
    std::filesystem::path m_folder;
};

// A big-endian AIFF file with the given PCM; with a compression code, an AIFC one.
std::string Aiff(int channels, int bits, const std::string& pcm,
                 const std::string& compression = "");

// `size` bytes without a pattern, always the same.
std::string Noise(size_t size);

// The samples of a WAV or AIFF file as an independent reader delivers them.
struct Samples {
    int format = 0; // as libsndfile says
    int channels = 0;
    int rate = 0;
    std::vector<int32_t> values;

    bool operator==(const Samples&) const = default;
};
Samples ReadSamples(const std::string& path);
