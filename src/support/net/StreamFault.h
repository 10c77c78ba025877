// Why a stream could not be opened or read.
#pragma once

#include "support/text/XStr.h"

enum class StreamFault {
    None,
    BadName,
    HostNotFound,
    NoSocket,
    Refused,
    Unreachable,
    ConnectTimeout,
    IdleTimeout,
    ConnectionLost,
    BadResponse,
    HeadTooLong,
    UnknownCoding,
    WrongRange,
    Status, // an answer that is neither the data nor a redirect
    RedirectWithoutTarget,
    RedirectElsewhere,
    TooManyRedirects,
    EndedEarly,
};

// The reason for people. `status` is the number that a fault Status tells.
XStr TextOf(StreamFault fault, int status);
