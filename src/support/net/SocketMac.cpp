// SPDX-License-Identifier: MIT
#include "support/net/Socket.h"

#include <fcntl.h>
#include <sys/socket.h>

namespace aiff
{

FileDescriptor OpenSocket(int family) noexcept
{
    FileDescriptor opened(socket(family, SOCK_STREAM, 0));
    if (opened.Get() < 0)
        return opened;
    fcntl(opened.Get(), F_SETFD, FD_CLOEXEC);
    fcntl(opened.Get(), F_SETFL, O_NONBLOCK);
    const int on = 1;
    setsockopt(opened.Get(), SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof(on));
    return opened;
}

// The socket itself raises no signal.
ssize_t SendQuietly(int fd, std::string_view bytes) noexcept
{
    return send(fd, bytes.data(), bytes.size(), 0);
}

} // namespace aiff
