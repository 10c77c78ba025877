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
    if (m_there.contains(path))
        return {};
    for (size_t end = 0; end != std::string::npos;) {
        end = path.find('/', end + 1);
        if (Problem problem = MakeOne(path.substr(0, end)))
            return problem;
    }
    m_there.insert(path);
    return {};
}

Problem NewFolders::MakeOne(const std::string& path)
{
    if (m_there.contains(path) || IsFolder(path))
        return {};
    const bool made = Interruption::Undisturbed([&] {
        if (mkdir(path.c_str(), 0777) != 0)
            return false;
        Interruption::RegisterFolder(path);
        return true;
    });
    if (!made && (errno != EEXIST || !IsFolder(path)))
        return Problem::FromErrno().About("cannot make the folder '" + path + "'");
    m_there.insert(path);
    if (!made)
        return {};
    m_made.push_back(path);
    return m_sync ? SyncFolderOf(path) : Problem();
}

} // namespace aiff::host
