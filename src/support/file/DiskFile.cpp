#include "support/file/DiskFile.h"

#include "support/QuietWrite.h"
#include "support/SaturatingMath.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace
{

// The most that one system call is asked for; some systems refuse 2 GiB.
constexpr size_t kMostPerCall = size_t{1} << 30;

// Files whose data has a length and a position.
bool CanBePositioned(int fd)
{
    struct stat status = {};
    if (fstat(fd, &status) != 0)
        return false;
    errno = S_ISDIR(status.st_mode) ? EISDIR : ESPIPE;
    return !S_ISDIR(status.st_mode) && !S_ISFIFO(status.st_mode) && !S_ISSOCK(status.st_mode);
}

} // namespace

std::shared_ptr<DiskFile> DiskFile::Open(const std::string& path, XFile::Access access)
{
    // Without O_NONBLOCK opening a pipe would wait for its writer.
    const int flags =
        (access == XFile::Access::Read ? O_RDONLY : O_RDWR) | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    int fd = -1;
    do
        fd = open(path.c_str(), flags);
    while (fd < 0 && errno == EINTR);
    FileDescriptor file(fd);
    if (fd < 0)
        return nullptr;
    if (!CanBePositioned(fd)) {
        const int reason = errno;
        file = FileDescriptor();
        errno = reason;
        return nullptr;
    }
    return std::make_shared<DiskFile>(std::move(file));
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

bool DiskFile::WriteAt(int64_t position, std::span<const uint8_t> bytes)
{
    while (!bytes.empty()) {
        const size_t size = std::min(bytes.size(), kMostPerCall);
        const ssize_t count = WriteQuietlyAt(m_file.Get(), bytes.data(), size, position);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0) {
            errno = count == 0 ? ENOSPC : errno;
            return false;
        }
        bytes = bytes.subspan(static_cast<size_t>(count));
        position += count;
    }
    return true;
}

bool DiskFile::SetSize(int64_t size)
{
    return SetSizeQuietly(m_file.Get(), size) == 0;
}
