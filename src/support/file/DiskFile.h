// SPDX-License-Identifier: MIT

// A file on disk.
#pragma once

#include "support/file/FileContent.h"
#include "support/file/FileDescriptor.h"

#include <string>

namespace aiff
{

class DiskFile : public FileContent
{
public:
    enum class Access {
        Read,
        ReadWrite,
        ReadWriteNoLink // fails with too_many_symbolic_link_levels at a symbolic link
    };

    explicit DiskFile(FileDescriptor file) noexcept : m_file(std::move(file)) {}

    // Opens a file by the bytes of its name, without ever waiting. Returns null when that
    // fails or when the name is that of a directory, a pipe or a socket; `error` then says
    // why, and is cleared otherwise.
    static std::shared_ptr<DiskFile> Open(const std::string& path, Access access,
                                          std::error_code& error);

    // Stays owned by this object.
    int Descriptor() const noexcept { return m_file.Get(); }

    // Closes the file, for good. Some file systems say only now that a write has failed.
    [[nodiscard]] std::error_code Close();

    int64_t Size() const override;
    [[nodiscard]] size_t ReadAt(int64_t position, std::span<uint8_t> out) const override;
    // Knows the holes of a sparse file.
    Range NextData(int64_t position) const override;
    // A write that fails may have written some of the bytes.
    [[nodiscard]] std::error_code WriteAt(int64_t position,
                                          std::span<const uint8_t> bytes) override;
    [[nodiscard]] std::error_code SetSize(int64_t size) override;

private:
    FileDescriptor m_file;
};

} // namespace aiff
