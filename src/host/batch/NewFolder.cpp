// SPDX-License-Identifier: MIT

#include "host/batch/NewFolder.h"

#include "host/batch/Interruption.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace aiff::host
{

NewFolder::~NewFolder()
{
    if (!m_made.empty())
        rmdir(m_made.c_str()); // fails when there is something in it
}

Problem NewFolder::Make(const std::string& path)
{
    const bool made = Interruption::Undisturbed([&] {
        if (mkdir(path.c_str(), 0777) != 0)
            return false;
        Interruption::RegisterFolder(path);
        return true;
    });
    if (made)
        m_made = path;
    const int reason = errno;
    struct stat status;
    if (made || (reason == EEXIST && stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)))
        return {};
    return "cannot make the folder '" + path + "': " + std::strerror(reason);
}

} // namespace aiff::host
