// SPDX-License-Identifier: MIT

// Files for one test, in a folder of their own that goes with the object.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <unistd.h> // mkdtemp, on macOS
#include <vector>

// Writes a new file, in place of any of that name.
inline void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes)
{
    std::filesystem::remove(path);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
    if (!file.flush())
        throw std::runtime_error("cannot write " + path);
}

inline std::vector<uint8_t> ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

class TempDir
{
public:
    TempDir()
    {
        m_path = (std::filesystem::temp_directory_path() / "aiff-test-XXXXXX").string();
        if (mkdtemp(m_path.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
    }
    ~TempDir() { std::filesystem::remove_all(m_path); }

    std::string Path(const std::string& name) const { return m_path + "/" + name; }

    // Writes a file and returns its path.
    std::string Write(const std::string& name, const std::vector<uint8_t>& bytes) const
    {
        WriteFile(Path(name), bytes);
        return Path(name);
    }

private:
    std::string m_path;
};
