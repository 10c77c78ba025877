// Writing without the signals that a write may raise.
#pragma once

#include <cstddef>
#include <sys/types.h>

// One write() whose SIGPIPE (the reader has gone) and SIGXFSZ (the file may not
// grow) reach nobody: those signals would end the host. The result and errno are
// those of write().
ssize_t WriteQuietly(int fd, const void* bytes, size_t size) noexcept;
