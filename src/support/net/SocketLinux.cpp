// SPDX-License-Identifier: MIT
#include "support/net/Socket.h"

#include <sys/socket.h>

namespace aiff
{

FileDescriptor OpenSocket(int family) noexcept
{
    return FileDescriptor(socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

ssize_t SendQuietly(int fd, std::string_view bytes) noexcept
{
    return send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

} // namespace aiff
