// SPDX-License-Identifier: MIT

// write(), pwrite() and ftruncate() without the signals they may raise: SIGPIPE (the reader
// has gone) and SIGXFSZ (the file may not grow) would end the host. Results and errno are
// those of the system calls.
#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

namespace aiff
{

ssize_t WriteQuietly(int fd, const void* bytes, size_t size) noexcept;
ssize_t WriteQuietlyAt(int fd, const void* bytes, size_t size, int64_t position) noexcept;
int SetSizeQuietly(int fd, int64_t size) noexcept;

} // namespace aiff
