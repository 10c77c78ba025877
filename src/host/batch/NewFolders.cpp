// SPDX-License-Identifier: MIT

#include "host/batch/NewFolders.h"

#include "host/batch/Interruption.h"
#include "host/batch/OutputFile.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace aiff::host
{
namespace
{

bool IsFolder(const std::string& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

NewFolders::~NewFolders()
{
    for (auto path = m_made.rbegin(); path != m_made.rend(); ++path)
        rmdir(path->c_str()); // fails when there is something in it
}

Problem NewFolders::Make(const std::string& path)
{
    const std::lock_guard lock(m_access);
    for (size_t end = 0; end != std::string::npos && !IsFolder(path);) {
        end = path.find('/', end + 1);
        if (Problem problem = MakeOne(path.substr(0, end)))
            return problem;
    }
    return {};
}

Problem NewFolders::MakeOne(const std::string& path)
{
    const auto make = [&] {
        if (mkdir(path.c_str(), 0777) != 0)
            return false;
        Interruption::RegisterFolder(path);
        m_made.push_back(path);
        return true;
    };
    constexpr int kAttempts = 100; // as many processes may make and remove it just then
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (Interruption::Undisturbed(make))
            return m_sync ? SyncFolderOf(path) : Problem();
        const int reason = errno;
        struct stat status;
        const bool isThere = stat(path.c_str(), &status) == 0;
        if (isThere && S_ISDIR(status.st_mode))
            return {};
        errno = reason;
        if (isThere || reason != EEXIST)
            break;
    }
    return Problem::FromErrno().About("cannot make the folder '" + path + "'");
}

} // namespace aiff::host
