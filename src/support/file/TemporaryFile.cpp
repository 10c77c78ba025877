// SPDX-License-Identifier: MIT
#include "support/file/TemporaryFile.h"

#include "support/file/FlushFile.h"
#include "support/file/SystemError.h"

#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>

namespace aiff
{

namespace
{

// Followed by the target's inode number and, when that name is taken, a dash and a digit.
constexpr std::string_view kPrefix = ".aiff-edit-";

// How many names to try.
constexpr int kAttempts = 10;

bool IsTemporaryName(std::string_view name)
{
    return name.starts_with(kPrefix) && name.size() > kPrefix.size() &&
           name.find_first_not_of("0123456789-", kPrefix.size()) == name.npos;
}

// Whether nobody uses a file of this name any more, and it is one of ours. The file is locked
// on success.
bool IsLeftOver(int fd, const std::string& path, uid_t owner)
{
    struct stat opened = {};
    struct stat named = {};
    return flock(fd, LOCK_EX | LOCK_NB) == 0 && fstat(fd, &opened) == 0 &&
           lstat(path.c_str(), &named) == 0 && // it may have taken the name of its original
           named.st_dev == opened.st_dev && named.st_ino == opened.st_ino &&
           S_ISREG(opened.st_mode) && opened.st_nlink == 1 &&
           (opened.st_uid == geteuid() || opened.st_uid == owner);
}

} // namespace

TemporaryFile::TemporaryFile(const EditTarget& target)
    : m_target(target), m_folder(target.Path().substr(0, target.Path().rfind('/') + 1))
{
}

TemporaryFile::~TemporaryFile()
{
    if (!m_path.empty())
        unlink(m_path.c_str());
}

std::error_code TemporaryFile::Create()
{
    struct stat status = {};
    if (fstat(m_target.File()->Descriptor(), &status) != 0)
        return LastSystemError();
    RemoveLeftOvers(status.st_uid);
    const std::string name = m_folder + std::string(kPrefix) + std::to_string(status.st_ino);
    std::error_code error;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        error = Create(attempt == 0 ? name : name + "-" + std::to_string(attempt));
        if (error != std::errc::file_exists)
            return error;
    }
    return error;
}

// Between its creation and its lock, another edit may take the file for a left-over one and
// remove it; that counts as a name that is taken.
std::error_code TemporaryFile::Create(std::string path)
{
    FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (file.Get() < 0)
        return LastSystemError();
    struct stat status = {};
    const bool isKnown =
        flock(file.Get(), LOCK_EX | LOCK_NB) == 0 && fstat(file.Get(), &status) == 0;
    const std::error_code error = isKnown ? std::error_code() : LastSystemError();
    if (error == std::errc::operation_would_block || (isKnown && status.st_nlink == 0))
        return make_error_code(std::errc::file_exists);
    m_path = std::move(path); // from here on it is removed again, whatever fails
    m_file = std::make_shared<DiskFile>(std::move(file));
    return error;
}

void TemporaryFile::RemoveLeftOvers(uid_t owner) const
{
    const auto closer = [](DIR* folder) { closedir(folder); };
    const std::unique_ptr<DIR, decltype(closer)> folder(opendir(m_folder.c_str()));
    if (folder == nullptr)
        return;
    while (const dirent* entry = readdir(folder.get())) {
        if (!IsTemporaryName(entry->d_name))
            continue;
        const std::string path = m_folder + entry->d_name;
        const FileDescriptor file(
            open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        if (file.Get() >= 0 && IsLeftOver(file.Get(), path, owner))
            unlink(path.c_str());
    }
}

std::error_code TemporaryFile::ReplaceTarget()
{
    if (std::rename(m_path.c_str(), m_target.Path().c_str()) != 0)
        return LastSystemError();
    m_path.clear();
    return {};
}

// The file is whole under either name, so nothing depends on the result.
void TemporaryFile::FlushFolder() const
{
    const FileDescriptor folder(open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.Get() >= 0)
        (void)FlushFile(folder.Get(), Flush::Whole);
}

} // namespace aiff
