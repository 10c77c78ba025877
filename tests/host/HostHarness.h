// SPDX-License-Identifier: MIT

// Runs aiffconv in a folder of its own, with libsndfile as the judge of sound.
#pragma once

#include "support/ChunkWalker.h"
#include "support/Sndfile.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

using Json = nlohmann::json;
using Names = std::vector<std::string>;

inline bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

inline std::string Str(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

// A file of 44100 Hz; with a compression code, an AIFF-C one.
inline Bytes Aiff(int channels, int bits, const Bytes& pcm, const std::string& compression = "")
{
    return AiffBuilder().Comm(channels, bits, 44100, compression, "Name").Ssnd(pcm);
}

struct Outcome {
    std::string out, err;
};

// The folder, with a codec folder that holds the real plug-in and the scripted one.
class Workplace
{
public:
    Workplace()
    {
        // At the end of one of thousands of processes with threads, clang's leak checker crashes.
        // Programs of tests look for leaks in the plug-in and the core.
        setenv("ASAN_OPTIONS", "detect_leaks=0", 0);
        namespace fs = std::filesystem;
        const fs::path decoders = Path(".codecs/Codecs/Bin/decoder");
        fs::create_directories(decoders);
        fs::create_symlink(AIFF_PLUGIN_PATH, decoders / "AIFF.so");
        fs::create_symlink(FIXTURE_ROOT "/Codecs/Bin/decoder/scripted.so",
                           decoders / "scripted.so");
    }

    std::string Path(const std::string& name) const { return m_folder.Path(name); }
    void Write(const std::string& name, const Bytes& bytes) const { m_folder.Write(name, bytes); }
    void Write(const std::string& name, const std::string& bytes) const
    {
        Write(name, Text(bytes));
    }
    Bytes ReadBytes(const std::string& name) const { return ReadFile(Path(name)); }
    std::string Read(const std::string& name) const { return Str(ReadBytes(name)); }
    WalkedForm Walk(const std::string& name) const { return WalkStrictly(ReadBytes(name)); }

    // The names of all files and folders, sorted.
    Names List() const
    {
        Names names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(Path(""))) {
            const std::string name = entry.path().lexically_relative(Path("")).string();
            if (!name.starts_with(".codecs") && !name.starts_with(".shell"))
                names.push_back(name);
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    // The same with the bytes of what is a file.
    std::map<std::string, std::string> Contents() const
    {
        std::map<std::string, std::string> contents;
        for (const std::string& name : List())
            contents[name] = std::filesystem::is_regular_file(Path(name)) ? Read(name) : "";
        return contents;
    }

    // Runs a command in the folder through the shell; "@" stands for aiffconv. It shall
    // end with the code and say the texts on one of its outputs.
    template <class... Texts>
    Outcome Run(const std::string& command, int exitCode = 0, const Texts&... texts) const
    {
        std::string line = command;
        for (size_t at = line.find('@'); at != std::string::npos; at = line.find('@'))
            line.replace(at, 1, AIFFCONV);
        const std::string shell = "cd '" + Path("") + "' && export QVCODECPATH='" +
                                  Path(".codecs") + "' && { " + line +
                                  "; } >.shell.out 2>.shell.err";
        const int status = std::system(shell.c_str());
        const Outcome outcome = {Read(".shell.out"), Read(".shell.err")};
        const std::string said = outcome.out + outcome.err;
        EXPECT_TRUE(WIFEXITED(status)) << command;
        EXPECT_EQ(WEXITSTATUS(status), exitCode) << command << "\n" << said;
        for (const std::string& text : Names{std::string(texts)...})
            EXPECT_PRED2(Contains, said, text) << command;
        return outcome;
    }

private:
    TempDir m_folder;
};

inline std::vector<int32_t> Values(const Workplace& place, const std::string& name)
{
    return ReadSamples(place.Path(name)).values;
}
