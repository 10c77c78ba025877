#include "host/batch/OutputFile.h"

#include "host/batch/Interruption.h"
#include "host/batch/ReserveSpace.h"

#include <algorithm>
#include <atomic>
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
// Names tried for a temporary file before giving up.
constexpr int kMaxAttempts = 100;

std::string RealPath(const std::string& path)
{
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    return real != nullptr ? real.get() : path;
}

// Unique: no other process has this number, no other output this count.
std::string TemporaryName(const std::string& path)
{
    static std::atomic<unsigned> count{0};
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    return folder + ".aiffconv-" + std::to_string(getpid()) + "-" + std::to_string(++count) +
           ".part";
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

OutputFile::~OutputFile()
{
    Discard();
}

Problem OutputFile::Open(const std::string& path, IfExists ifExists)
{
    m_path = path;
    m_ifExists = ifExists;
    struct stat status;
    const bool exists = path != kStandardOutput && stat(path.c_str(), &status) == 0;
    if (path == kStandardOutput || (exists && !S_ISREG(status.st_mode)))
        return OpenDirect();
    if (exists && ifExists == IfExists::Fail)
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
    m_descriptor =
        m_path == kStandardOutput ? dup(STDOUT_FILENO) : open(m_path.c_str(), O_WRONLY | O_CLOEXEC);
    return m_descriptor >= 0 ? Problem() : FailedCall();
}

Problem OutputFile::OpenTemporary()
{
    for (int attempt = 0; m_descriptor < 0 && attempt < kMaxAttempts; ++attempt) {
        const std::string name = TemporaryName(m_target);
        const bool made = Interruption::Undisturbed([&] {
            m_descriptor = open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (m_descriptor >= 0)
                Interruption::RegisterFile(name);
            return m_descriptor >= 0;
        });
        if (made)
            m_temporary = name;
        else if (errno != EEXIST)
            break;
    }
    return m_descriptor >= 0 ? Problem() : FailedCall();
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

Problem OutputFile::Commit()
{
    if (Problem problem = Flush())
        return problem;
    if (close(std::exchange(m_descriptor, -1)) != 0)
        return FailedCall();
    Problem problem;
    if (!IsDirect())
        Interruption::Undisturbed([&] {
            problem = PutInPlace();
            return !problem;
        });
    return problem;
}

Problem OutputFile::PutInPlace()
{
    const bool done = m_ifExists == IfExists::Replace
                          ? rename(m_temporary.c_str(), m_target.c_str()) == 0
                          : TakeFreeName(m_temporary, m_target);
    if (!done)
        return errno == EEXIST ? Problem(kExists).About(Name()) : FailedCall();
    Interruption::ForgetFile(m_temporary);
    m_temporary.clear();
    return {};
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
