// SPDX-License-Identifier: MIT

// Why a stream could not be opened or read.
#pragma once

#include "support/text/XStr.h"

namespace aiff
{

enum class StreamFault {
    None,
    BadName,
    UserInName,
    HostNotFound,
    NoSocket,
    Refused,
    Unreachable,
    ConnectTimeout,
    IdleTimeout,
    TooSlow,
    ConnectionLost,
    BadResponse,
    HeadTooLong,
    UnknownCoding,
    WrongRange,
    Status, // a response that is neither data nor a redirect
    RedirectWithoutTarget,
    RedirectElsewhere,
    TooManyRedirects,
    EndedEarly,
};

// The reason in words. `status` is the HTTP status; only the fault Status shows it.
XStr TextOf(StreamFault fault, int status);

} // namespace aiff
