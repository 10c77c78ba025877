#include "support/file/EditTarget.h"

#include "support/file/SystemError.h"
#include "support/text/XStr.h"

#include <cstdlib>
#include <sys/file.h>
#include <sys/stat.h>

namespace aiff
{

namespace
{

// How often to reopen a file that another editor has replaced in the meantime.
constexpr int kAttempts = 3;

std::error_code ResolvePath(const wchar_t* name, std::string& path)
{
    std::string bytes;
    if (!ToPathBytes(name, bytes))
        return make_error_code(std::errc::no_such_file_or_directory);
    const std::unique_ptr<char, void (*)(void*)> real(realpath(bytes.c_str(), nullptr), std::free);
    if (real == nullptr)
        return LastSystemError();
    path = real.get();
    return {};
}

// An editor that replaces a file unlocks it after the new one has taken its name. A lock
// obtained at that moment is one on the old file, which no name leads to any more.
bool IsStillNamed(int fd, const std::string& path)
{
    struct stat opened = {};
    struct stat named = {};
    return fstat(fd, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

} // namespace

std::error_code EditTarget::Open(const wchar_t* name)
{
    m_file.reset();
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::error_code error = ResolvePath(name, m_path);
        if (error)
            return error;
        auto file = DiskFile::Open(m_path, DiskFile::Access::ReadWrite, error);
        if (error)
            return error;
        if (flock(file->Descriptor(), LOCK_EX | LOCK_NB) != 0)
            return LastSystemError();
        if (IsStillNamed(file->Descriptor(), m_path)) {
            m_file = std::move(file);
            return {};
        }
    }
    return make_error_code(std::errc::operation_would_block);
}

} // namespace aiff
