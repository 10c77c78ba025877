// SPDX-License-Identifier: MIT
#include "support/file/EditTarget.h"

#include "support/file/SystemError.h"
#include "support/text/XStr.h"

#include <algorithm>
#include <cstdlib>
#include <sys/file.h>
#include <sys/stat.h>

namespace aiff
{

namespace
{

// How often to reopen a file that another editor has replaced in the meantime.
constexpr int kAttempts = 3;

std::error_code ResolvePath(std::string& path)
{
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    if (real == nullptr)
        return LastSystemError();
    path = real.get();
    return {};
}

} // namespace

std::error_code EditTarget::Open(const wchar_t* name)
{
    m_file.reset();
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::error_code error;
        if (!ToPathBytes(name, m_path))
            return make_error_code(std::errc::no_such_file_or_directory);
        if (m_path.find('/') == std::string::npos)
            m_path.insert(0, "./"); // its folder is told by the path
        m_file = DiskFile::Open(m_path, DiskFile::Access::ReadWriteNoLink, error);
        if (error == std::errc::too_many_symbolic_link_levels) {
            if (const auto unresolved = ResolvePath(m_path))
                return unresolved;
            m_file = DiskFile::Open(m_path, DiskFile::Access::ReadWrite, error);
        }
        if (!error && flock(m_file->Descriptor(), LOCK_EX | LOCK_NB) != 0)
            error = LastSystemError();
        if (!error)
            error = NoteState();
        // An editor that replaces a file unlocks it after the new one has taken its name. A
        // lock obtained at that moment is one on the old file, which the name no longer
        // leads to.
        if (!error)
            error = CheckUnchanged();
        if (!error)
            return {};
        m_file.reset();
        if (error != kChangedMeanwhile)
            return error;
    }
    return make_error_code(std::errc::operation_would_block);
}

std::error_code EditTarget::NoteState()
{
    struct stat status = {};
    if (fstat(m_file->Descriptor(), &status) != 0)
        return LastSystemError();
    m_state = StateOf(status);
    return {};
}

std::error_code EditTarget::NoteWrite(int64_t end)
{
    const int64_t size = std::max(m_state.size, end);
    const std::error_code error = NoteState();
    return !error && m_state.size != size ? kChangedMeanwhile : error;
}

std::error_code EditTarget::CheckUnchanged() const
{
    struct stat status = {};
    if (stat(m_path.c_str(), &status) != 0)
        return errno == ENOENT || errno == ENOTDIR ? kChangedMeanwhile : LastSystemError();
    return StateOf(status) == m_state ? std::error_code() : kChangedMeanwhile;
}

int64_t EditTarget::NamesOfReplacedFile() const
{
    struct stat opened = {};
    struct stat named = {};
    const bool isReplaced = fstat(m_file->Descriptor(), &opened) == 0 &&
                            stat(m_path.c_str(), &named) == 0 &&
                            (opened.st_dev != named.st_dev || opened.st_ino != named.st_ino);
    return isReplaced ? static_cast<int64_t>(opened.st_nlink) : 0;
}

} // namespace aiff
