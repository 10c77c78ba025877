// SPDX-License-Identifier: MIT
#include "host/batch/OutputFile.h"

#include "host/batch/FileSystem.h"
#include "host/batch/Interruption.h"
#include "host/batch/TemporaryName.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace aiff::host
{
namespace
{

constexpr char kStandardOutput[] = "-";
constexpr char kExists[] = "already exists (--overwrite replaces it)";

std::string RealPath(const std::string& path)
{
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    return real != nullptr ? real.get() : path;
}

bool IsThere(const std::string& path)
{
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

// Renames `temporary` to `path` unless that is taken; false, with errno set, when it
// fails. Where there are no hard links, an empty file of our own holds the name first.
bool TakeFreeName(const std::string& temporary, const std::string& path)
{
    if (link(temporary.c_str(), path.c_str()) == 0) {
        unlink(temporary.c_str());
        return true;
    }
    if (errno == EEXIST)
        return false;
    const int placeholder = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (placeholder < 0)
        return false;
    close(placeholder);
    if (rename(temporary.c_str(), path.c_str()) == 0)
        return true;
    const int reason = errno;
    unlink(path.c_str());
    errno = reason;
    return false;
}

} // namespace

std::string FolderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

Problem SyncFolderOf(const std::string& path)
{
    const int folder = open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool done = folder >= 0 && FlushToDisk(folder);
    const Problem problem = done ? Problem() : Problem::FromErrno().About("cannot be flushed");
    if (folder >= 0)
        close(folder);
    return problem;
}

OutputFile::~OutputFile()
{
    Discard();
}

Problem OutputFile::Open(const std::string& path, const OutputRules& rules)
{
    m_path = path;
    m_rules = rules;
    struct stat status;
    const bool exists = path != kStandardOutput && stat(path.c_str(), &status) == 0;
    if (path == kStandardOutput || (exists && !S_ISREG(status.st_mode)))
        return OpenDirect();
    if (exists && rules.ifExists == IfExists::Fail)
        return Problem(kExists).About(Name());
    m_target = exists ? RealPath(path) : path;
    if (Problem problem = OpenTemporary())
        return problem;
    if (exists)
        (void)!fchmod(m_descriptor, status.st_mode & 0777);
    return {};
}

Problem OutputFile::OpenDirect()
{
    m_isDirect = true;
    m_descriptor =
        m_path == kStandardOutput ? dup(STDOUT_FILENO) : open(m_path.c_str(), O_WRONLY | O_CLOEXEC);
    return m_descriptor >= 0 ? Problem() : FailedCall();
}

// Makes a call again that found no folder, if the folder can be made again. False, with errno
// set, when it fails.
template <class Call>
bool OutputFile::InFolder(Call call) const
{
    constexpr int kAttempts = 100; // as many processes may end just then
    for (int attempt = 0; !call(); ++attempt) {
        if (errno != ENOENT || !m_rules.makeFolder || attempt == kAttempts)
            return false;
        (void)m_rules.makeFolder(); // if that fails, the call says so
    }
    return true;
}

Problem OutputFile::OpenTemporary()
{
    const auto createNamed = [](const std::string& name) {
        return open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    };
    const bool isOpen = InFolder([&] {
        m_descriptor = OpenUnnamed(FolderOf(m_target));
        if (m_descriptor < 0)
            m_descriptor = CreateTemporary(m_target, createNamed, m_temporary);
        return m_descriptor >= 0;
    });
    return isOpen ? Problem() : FailedCall();
}

Problem OutputFile::Reserve(int64_t size)
{
    // Below this size, reserving space costs more than it saves.
    constexpr int64_t kReserveFrom = 1024 * 1024;
    const bool isDone = IsDirect() || size < kReserveFrom || ReserveSpace(m_descriptor, size);
    return isDone ? Problem() : FailedCall();
}

Problem OutputFile::Write(std::span<const uint8_t> bytes)
{
    while (!bytes.empty()) {
        const size_t size = std::min(bytes.size(), m_buffer.size() - m_gathered);
        std::copy_n(bytes.begin(), size, m_buffer.begin() + static_cast<ptrdiff_t>(m_gathered));
        m_gathered += size;
        bytes = bytes.subspan(size);
        if (m_gathered < m_buffer.size())
            break;
        if (Problem problem = Flush())
            return problem;
    }
    return {};
}

Problem OutputFile::Flush()
{
    std::span<const uint8_t> left = m_buffer.first(m_gathered);
    while (!left.empty()) {
        const ssize_t written = write(m_descriptor, left.data(), left.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return FailedCall();
        left = left.subspan(static_cast<size_t>(written));
    }
    m_gathered = 0;
    return {};
}

Problem OutputFile::WriteAt(int64_t position, std::span<const uint8_t> bytes)
{
    if (IsDirect())
        return Problem("what was written cannot be corrected").About(Name());
    if (Problem problem = Flush())
        return problem;
    const ssize_t written = pwrite(m_descriptor, bytes.data(), bytes.size(), position);
    return written == std::ssize(bytes) ? Problem() : FailedCall();
}

Result<std::string> OutputFile::ReadablePath()
{
    if (IsDirect())
        return Problem("cannot be read back").About(Name());
    if (Problem problem = Flush())
        return problem;
    return m_temporary.empty() ? "/dev/fd/" + std::to_string(m_descriptor) : m_temporary;
}

Problem OutputFile::Commit()
{
    if (Problem problem = Flush())
        return problem;
    if (Problem problem = Secure())
        return problem;
    if (!IsDirect() && !InFolder([this] { return PutInPlace(); }))
        return errno == EEXIST ? Problem(kExists).About(Name()) : FailedCall();
    close(std::exchange(m_descriptor, -1));
    return m_rules.sync && !IsDirect() ? SyncFolderOf(m_target).About(Name()) : Problem();
}

// Some file systems tell only at close() that a write has failed, which any descriptor of the
// file brings about. A replaced file must not be lost for one that is not on the disk yet.
Problem OutputFile::Secure() const
{
    const int copy = fcntl(m_descriptor, F_DUPFD_CLOEXEC, 0);
    if (copy < 0 || close(copy) != 0)
        return FailedCall();
    const bool replaces = m_rules.ifExists == IfExists::Replace && IsThere(m_target);
    const bool flushes = !IsDirect() && (m_rules.sync || replaces);
    return !flushes || FlushToDisk(m_descriptor) ? Problem() : FailedCall();
}

// False, with errno set, when it fails.
bool OutputFile::PutInPlace()
{
    const bool replaces = m_rules.ifExists == IfExists::Replace;
    if (m_temporary.empty()) {
        if (NameUnnamed(m_descriptor, m_target))
            return true;
        if (errno != EEXIST || !replaces || !TakeTemporaryName())
            return false;
    }
    return Interruption::Undisturbed([&] {
        const bool done = replaces ? rename(m_temporary.c_str(), m_target.c_str()) == 0
                                   : TakeFreeName(m_temporary, m_target);
        if (done)
            Interruption::ForgetFile(std::exchange(m_temporary, {}));
        return done;
    });
}

// Only a file that has a name can take another one's.
bool OutputFile::TakeTemporaryName()
{
    const auto link = [this](const std::string& name) {
        const int copy = fcntl(m_descriptor, F_DUPFD_CLOEXEC, 0);
        if (copy < 0 || NameUnnamed(m_descriptor, name))
            return copy;
        const int reason = errno;
        close(copy);
        errno = reason;
        return -1;
    };
    const int copy = CreateTemporary(m_target, link, m_temporary);
    if (copy < 0)
        return false;
    close(copy);
    return true;
}

std::string OutputFile::Name() const
{
    return m_path == kStandardOutput ? "standard output" : "'" + m_path + "'";
}

Problem OutputFile::FailedCall() const
{
    return Problem::FromErrno().About(Name());
}

void OutputFile::Discard()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
    if (m_temporary.empty())
        return;
    Interruption::Undisturbed([this] {
        Interruption::ForgetFile(m_temporary);
        return unlink(m_temporary.c_str()) == 0;
    });
}

} // namespace aiff::host
