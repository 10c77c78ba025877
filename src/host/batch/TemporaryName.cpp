// SPDX-License-Identifier: MIT
#include "host/batch/TemporaryName.h"

#include "host/batch/Interruption.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace aiff::host
{
namespace
{

// How many programs may work on the same output at a time.
constexpr int kMostNames = 100;

// The names for an output depend on nothing but its own, so that whoever makes it again
// finds what was left. A hash keeps them short: names have a longest length.
std::string NumberedName(const std::string& path, int number)
{
    const size_t start = path.rfind('/') + 1;
    uint64_t hash = 14695981039346656037u; // FNV-1a
    for (size_t i = start; i < path.size(); ++i)
        hash = (hash ^ static_cast<unsigned char>(path[i])) * 1099511628211u;
    char text[64];
    std::snprintf(text, sizeof text, ".aiffconv-%016llx-%d.part",
                  static_cast<unsigned long long>(hash), number);
    return path.substr(0, start) + text;
}

// Whether the name still belongs to the open file, which another program may have removed.
bool IsNameOf(const std::string& name, int descriptor)
{
    struct stat named;
    struct stat opened;
    return lstat(name.c_str(), &named) == 0 && fstat(descriptor, &opened) == 0 &&
           named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

// Returns whether there was something to remove.
bool RemoveAbandoned(const std::string& name)
{
    const int descriptor = open(name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool removed = flock(descriptor, LOCK_EX | LOCK_NB) == 0 && IsNameOf(name, descriptor) &&
                         unlink(name.c_str()) == 0;
    close(descriptor);
    return removed;
}

} // namespace

int CreateTemporary(const std::string& path, const std::function<int(const std::string&)>& create,
                    std::string& name)
{
    int reason = EEXIST;
    for (int number = 0; reason == EEXIST && number < kMostNames; ++number) {
        name = NumberedName(path, number);
        RemoveAbandoned(name);
        int descriptor = -1;
        const bool made = Interruption::Undisturbed([&] {
            descriptor = create(name);
            reason = descriptor < 0 ? errno : EEXIST;
            // Where there are no locks, nobody else can take one either.
            if (descriptor >= 0)
                (void)!flock(descriptor, LOCK_EX | LOCK_NB);
            const bool isOurs = descriptor >= 0 && IsNameOf(name, descriptor);
            if (isOurs)
                Interruption::RegisterFile(name);
            return isOurs;
        });
        if (made) {
            // Of programs that worked on the same output at the same time.
            for (++number; RemoveAbandoned(NumberedName(path, number)); ++number) {
            }
            return descriptor;
        }
        if (descriptor >= 0)
            close(descriptor);
    }
    name.clear();
    errno = reason;
    return -1;
}

} // namespace aiff::host
