// A file on disk.
#pragma once

#include "support/file/XFile.h"

class DiskFile : public FileContent
{
public:
    explicit DiskFile(FileDescriptor file) noexcept : m_file(std::move(file)) {}

    // Opens a file by the bytes of its name; null, with errno set, when that fails
    // or when it is a folder, a pipe or a socket.
    static std::shared_ptr<DiskFile> Open(const std::string& path, XFile::Access access);

    int Descriptor() const noexcept { return m_file.Get(); }

    int64_t Size() const override;
    [[nodiscard]] size_t ReadAt(int64_t position, std::span<uint8_t> out) const override;
    // A failed write may have written some of the bytes; errno says why it failed.
    [[nodiscard]] bool WriteAt(int64_t position, std::span<const uint8_t> bytes) override;
    [[nodiscard]] bool SetSize(int64_t size) override;

private:
    FileDescriptor m_file;
};
