// SPDX-License-Identifier: MIT
#include "host/fetch/ScratchFile.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace aiff::host
{

Result<std::shared_ptr<ScratchFile>> ScratchFile::Make()
{
    std::error_code error;
    std::string name = std::filesystem::temp_directory_path(error) / "aiffconv-XXXXXX";
    const int descriptor = error ? -1 : mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0)
        return Problem("cannot make a temporary file: " +
                       (error ? error.message() : Problem::FromErrno().Text()));
    unlink(name.c_str());
    return std::make_shared<ScratchFile>(descriptor);
}

ScratchFile::~ScratchFile()
{
    close(m_descriptor);
}

Problem ScratchFile::Append(std::span<const char> bytes)
{
    while (!bytes.empty()) {
        const ssize_t done = write(m_descriptor, bytes.data(), bytes.size());
        if (done < 0 && errno == EINTR)
            continue;
        if (done < 0)
            return "cannot write to a temporary file: " + Problem::FromErrno().Text();
        bytes = bytes.subspan(static_cast<size_t>(done));
        m_size += done;
    }
    return {};
}

} // namespace aiff::host
