// SPDX-License-Identifier: MIT

// Outputs of the host with and without names, and what is flushed.

#include "host/batch/OutputFile.h"
#include "support/AiffBuilder.h"
#include "support/TempDir.h"

#include <csignal>
#include <cstdarg>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace aiff;

namespace
{

// The system calls of this program, which may lack files without names and count flushes.
bool needsNames = false;
int flushes = 0;

} // namespace

extern "C" int open(const char* path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const int mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, int) : 0;
    va_end(more);
    if (needsNames && (flags & O_TMPFILE) == O_TMPFILE)
        return errno = EOPNOTSUPP, -1;
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

extern "C" int fsync(int)
{
    return ++flushes, 0;
}

namespace
{

TEST(OutputFile, NeedsNoNameAndRemovesTheNamesOfTheDead)
{
    using enum host::IfExists;
    const TempDir folder;
    Bytes buffer(16);
    const auto files = [&] {
        return std::distance(std::filesystem::directory_iterator(folder.Path("")), {});
    };
    const auto write = [&](host::OutputFile& output, host::IfExists ifExists, bool sync) {
        return !output.Open(folder.Path("out"), {ifExists, sync}) && !output.Write(Noise(96));
    };
    for (const bool named : {false, true}) {
        needsNames = named;
        if (const pid_t child = fork(); child != 0) {
            EXPECT_EQ(waitpid(child, nullptr, 0), child);
        } else if (host::OutputFile output(buffer); write(output, Fail, false)) {
            raise(SIGKILL); // leaves its output as it is
        }
        EXPECT_EQ(files(), named);
        for (const auto& [ifExists, sync, expected] :
             {std::tuple{Fail, false, 0}, {Replace, false, 1}, {Replace, true, 2}}) {
            host::OutputFile living(buffer), output(buffer); // the one is left alone
            EXPECT_TRUE(write(living, ifExists, false) && write(output, ifExists, sync));
            flushes = 0;
            EXPECT_FALSE(output.Commit());
            EXPECT_EQ(flushes, expected); // the output, the folder
            EXPECT_EQ(ReadFile(folder.Path("out")), Noise(96));
            EXPECT_EQ(files(), 1 + named);
        }
        EXPECT_TRUE(files() == 1 && std::filesystem::remove(folder.Path("out")));
    }
}

} // namespace
