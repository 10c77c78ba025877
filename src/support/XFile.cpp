#include "support/XFile.h"

#include "support/SaturatingMath.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

FileDescriptor::~FileDescriptor()
{
    if (m_fd >= 0)
        close(m_fd);
}

bool XFile::Open(const wchar_t* name, Access access)
{
    Close();
    std::string path;
    if (!ToPathBytes(name, path)) {
        errno = ENOENT;
        return false;
    }
    // Without O_NONBLOCK opening a pipe would wait for its writer.
    const int flags = (access == Access::Read ? O_RDONLY : O_RDWR) | O_CLOEXEC | O_NONBLOCK;
    int fd = -1;
    do
        fd = open(path.c_str(), flags | O_NOCTTY);
    while (fd < 0 && errno == EINTR);
    FileDescriptor file(fd);
    if (fd < 0 || !CanBePositioned(fd)) {
        const int reason = errno;
        file = FileDescriptor();
        errno = reason;
        return false;
    }
    return Open(std::make_shared<const FileDescriptor>(std::move(file)));
}

bool XFile::Open(XFileHandle handle)
{
    m_handle = std::move(handle);
    m_position = 0;
    return IsOpen();
}

void XFile::Close() noexcept
{
    m_handle.reset();
    m_position = 0;
}

int64_t XFile::Size() const noexcept
{
    struct stat status = {};
    if (!IsOpen() || fstat(m_handle->Get(), &status) != 0)
        return -1;
    return status.st_size;
}

bool XFile::SetPosition(int64_t position) noexcept
{
    if (!IsOpen() || position < 0)
        return false;
    m_position = position;
    return true;
}

bool XFile::Skip(int64_t bytes) noexcept
{
    return SetPosition(AddSaturated(m_position, bytes));
}

size_t XFile::Read(std::span<uint8_t> out) noexcept
{
    const size_t count = ReadAt(m_position, out);
    m_position += static_cast<int64_t>(count);
    return count;
}

size_t XFile::ReadAt(int64_t position, std::span<uint8_t> out) const noexcept
{
    if (!IsOpen() || position < 0)
        return 0;
    size_t done = 0;
    while (done < out.size()) {
        const int64_t at = AddSaturated(position, static_cast<int64_t>(done));
        const size_t size = std::min(out.size() - done, kMostPerCall);
        const ssize_t count = pread(m_handle->Get(), out.data() + done, size, at);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        done += static_cast<size_t>(count);
    }
    return done;
}
