#include "host/batch/OutputFile.h"

#include "host/batch/Interruption.h"
#include "host/batch/ReserveSpace.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace host
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

// No other process uses the number of this one, no other output the count.
std::string TemporaryName(const std::string& path)
{
    static std::atomic<unsigned> count{0};
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    return folder + ".aiffconv-" + std::to_string(getpid()) + "-" + std::to_string(++count) +
           ".part";
}

// Gives `temporary` the name `path` unless that is taken. File systems without
// hard links get an empty file first, which only this program can have made.
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

bool OutputFile::Open(const std::string& path, bool overwrite)
{
    m_path = path;
    m_overwrite = overwrite;
    struct stat status;
    const bool exists = path != kStandardOutput && stat(path.c_str(), &status) == 0;
    if (path == kStandardOutput || (exists && !S_ISREG(status.st_mode)))
        return OpenDirect(path);
    if (exists && !overwrite)
        return Fail(kExists);
    if (exists)
        m_path = RealPath(path);
    if (!OpenTemporary())
        return false;
    if (exists)
        (void)!fchmod(m_descriptor, status.st_mode & 0777);
    return true;
}

bool OutputFile::OpenDirect(const std::string& path)
{
    if (path == kStandardOutput)
        m_descriptor = dup(STDOUT_FILENO);
    else
        m_descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    return m_descriptor >= 0 || Fail(std::strerror(errno));
}

bool OutputFile::OpenTemporary()
{
    for (int attempt = 0; m_descriptor < 0 && attempt < kMaxAttempts; ++attempt) {
        const std::string name = TemporaryName(m_path);
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
    return m_descriptor >= 0 || Fail(std::strerror(errno));
}

bool OutputFile::Reserve(int64_t size)
{
    if (IsDirect() || ReserveSpace(m_descriptor, size))
        return true;
    return Fail(std::strerror(errno));
}

bool OutputFile::Write(std::span<const uint8_t> bytes)
{
    while (!bytes.empty()) {
        const size_t size = std::min(bytes.size(), m_buffer.size() - m_gathered);
        std::copy_n(bytes.begin(), size, m_buffer.begin() + static_cast<ptrdiff_t>(m_gathered));
        m_gathered += size;
        bytes = bytes.subspan(size);
        if (m_gathered == m_buffer.size() && !Flush())
            return false;
    }
    return true;
}

bool OutputFile::Flush()
{
    std::span<const uint8_t> left = m_buffer.first(m_gathered);
    while (!left.empty()) {
        const ssize_t written = write(m_descriptor, left.data(), left.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return Fail(std::strerror(errno));
        left = left.subspan(static_cast<size_t>(written));
    }
    m_gathered = 0;
    return true;
}

bool OutputFile::WriteAt(int64_t position, std::span<const uint8_t> bytes)
{
    if (IsDirect())
        return Fail("what was written cannot be corrected");
    if (!Flush())
        return false;
    const ssize_t written = pwrite(m_descriptor, bytes.data(), bytes.size(), position);
    return written == static_cast<ssize_t>(bytes.size()) || Fail(std::strerror(errno));
}

bool OutputFile::Commit()
{
    if (!Flush())
        return false;
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    if (close(descriptor) != 0)
        return Fail(std::strerror(errno));
    return IsDirect() || Interruption::Undisturbed([this] { return PutInPlace(); });
}

bool OutputFile::PutInPlace()
{
    const bool done = m_overwrite ? rename(m_temporary.c_str(), m_path.c_str()) == 0
                                  : TakeFreeName(m_temporary, m_path);
    if (!done)
        return Fail(errno == EEXIST ? kExists : std::strerror(errno));
    Interruption::ForgetFile(m_temporary);
    m_temporary.clear();
    return true;
}

bool OutputFile::Fail(const std::string& what)
{
    m_problem = what;
    return false;
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

} // namespace host
