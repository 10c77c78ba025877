// SPDX-License-Identifier: MIT

// A file without a name, for content that must lie on disk for a while.
#pragma once

#include "host/base/Problem.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace aiff::host
{

// Lies in the folder for temporary files and goes with the object, however the program ends.
class ScratchFile
{
public:
    static Result<std::shared_ptr<ScratchFile>> Make();

    explicit ScratchFile(int descriptor) : m_descriptor(descriptor) {}
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    ~ScratchFile();

    Problem Append(std::span<const char> bytes);
    int64_t Size() const { return m_size; } // in bytes
    // A name under which this process can open it.
    std::string Path() const { return "/dev/fd/" + std::to_string(m_descriptor); }

private:
    int m_descriptor;
    int64_t m_size = 0;
};

} // namespace aiff::host
