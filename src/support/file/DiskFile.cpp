// SPDX-License-Identifier: MIT
#include "support/file/DiskFile.h"

#include "support/QuietWrite.h"
#include "support/SaturatingMath.h"
#include "support/file/SystemError.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

namespace aiff
{

namespace
{

// The most that one system call is asked for; some systems refuse 2 GiB.
constexpr size_t kMostPerCall = size_t{1} << 30;

// Whether the data of a file has a length and can be accessed by position.
std::error_code CheckPositionable(int fd)
{
    struct stat status = {};
    if (fstat(fd, &status) != 0)
        return LastSystemError();
    if (S_ISDIR(status.st_mode))
        return make_error_code(std::errc::is_a_directory);
    if (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode))
        return make_error_code(std::errc::invalid_seek);
    return {};
}

} // namespace

std::shared_ptr<DiskFile> DiskFile::Open(const std::string& path, Access access,
                                         std::error_code& error)
{
    // Without O_NONBLOCK, opening a pipe would wait for its writer.
    const int flags = (access == Access::Read ? O_RDONLY : O_RDWR) |
                      (access == Access::ReadWriteNoLink ? O_NOFOLLOW : 0) | O_CLOEXEC |
                      O_NONBLOCK | O_NOCTTY;
    int fd = -1;
    do
        fd = open(path.c_str(), flags);
    while (fd < 0 && errno == EINTR);
    error = fd < 0 ? LastSystemError() : CheckPositionable(fd);
    FileDescriptor file(fd);
    return error ? nullptr : std::make_shared<DiskFile>(std::move(file));
}

std::error_code DiskFile::Close()
{
    // An interrupted close has closed the file.
    const int result = close(m_file.Release());
    return result == 0 || errno == EINTR ? std::error_code() : LastSystemError();
}

int64_t DiskFile::Size() const
{
    struct stat status = {};
    return fstat(m_file.Get(), &status) == 0 ? int64_t{status.st_size} : -1;
}

size_t DiskFile::ReadAt(int64_t position, std::span<uint8_t> out) const
{
    if (position < 0)
        return 0;
    size_t done = 0;
    while (done < out.size()) {
        const int64_t at = AddSaturated(position, static_cast<int64_t>(done));
        const size_t size = std::min(out.size() - done, kMostPerCall);
        const ssize_t count = pread(m_file.Get(), out.data() + done, size, at);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        done += static_cast<size_t>(count);
    }
    return done;
}

// Moves the descriptor's own offset, by which nothing is read or written.
FileContent::Range DiskFile::NextData(int64_t position) const
{
    const int64_t start = lseek(m_file.Get(), position, SEEK_DATA);
    if (start < 0) // there is a hole up to the end, or the file system does not know
        return {errno == ENXIO ? Size() : position, Size()};
    const int64_t end = lseek(m_file.Get(), start, SEEK_HOLE);
    return {start, end < 0 ? Size() : end};
}

std::error_code DiskFile::WriteAt(int64_t position, std::span<const uint8_t> bytes)
{
    while (!bytes.empty()) {
        const size_t size = std::min(bytes.size(), kMostPerCall);
        const ssize_t count = WriteQuietlyAt(m_file.Get(), bytes.data(), size, position);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return LastSystemError();
        if (count == 0)
            return make_error_code(std::errc::no_space_on_device);
        bytes = bytes.subspan(static_cast<size_t>(count));
        position += count;
    }
    return {};
}

std::error_code DiskFile::SetSize(int64_t size)
{
    return SetSizeQuietly(m_file.Get(), size) == 0 ? std::error_code() : LastSystemError();
}

} // namespace aiff
