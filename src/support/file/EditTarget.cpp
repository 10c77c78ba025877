#include "support/file/EditTarget.h"

#include <cerrno>
#include <cstdlib>
#include <sys/file.h>
#include <sys/stat.h>

namespace
{

// How often a file that another editor replaced in the meantime is opened anew.
constexpr int kAttempts = 3;

bool ResolvePath(const wchar_t* name, std::string& path)
{
    std::string bytes;
    if (!ToPathBytes(name, bytes)) {
        errno = ENOENT;
        return false;
    }
    const std::unique_ptr<char, void (*)(void*)> real(realpath(bytes.c_str(), nullptr), std::free);
    if (real == nullptr)
        return false;
    path = real.get();
    return true;
}

// An editor that replaces a file unlocks it after the new one stands in its place: a
// lock that is had then is one on the old file, which nobody sees any more.
bool IsStillThere(int fd, const std::string& path)
{
    struct stat opened = {};
    struct stat named = {};
    return fstat(fd, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

} // namespace

bool EditTarget::Open(const wchar_t* name)
{
    m_file.reset();
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (!ResolvePath(name, m_path))
            return false;
        auto file = DiskFile::Open(m_path, XFile::Access::ReadWrite);
        if (file == nullptr || flock(file->Descriptor(), LOCK_EX | LOCK_NB) != 0)
            return false;
        if (IsStillThere(file->Descriptor(), m_path)) {
            m_file = std::move(file);
            return true;
        }
    }
    errno = EWOULDBLOCK;
    return false;
}
