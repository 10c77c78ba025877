// SPDX-License-Identifier: MIT

// What systems do differently about sockets: a source per platform.
#pragma once

#include "support/file/FileDescriptor.h"

#include <string_view>
#include <sys/types.h>

namespace aiff
{

// A TCP socket of an address family (AF_INET, AF_INET6) that never blocks and that
// programs started by the host do not inherit. Holds no descriptor when the system gives
// none; errno then says why.
FileDescriptor OpenSocket(int family) noexcept;

// send() without the signal that a connection closed by the server raises.
ssize_t SendQuietly(int fd, std::string_view bytes) noexcept;

} // namespace aiff
