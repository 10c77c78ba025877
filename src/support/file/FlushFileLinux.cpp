// SPDX-License-Identifier: MIT
#include "support/file/FlushFile.h"
#include "support/file/SystemError.h"

#include <unistd.h>

namespace aiff
{

// There is no weaker call that would keep the order alone.
std::error_code FlushFile(int file, Flush flush)
{
    while ((flush == Flush::Whole ? fsync(file) : fdatasync(file)) != 0)
        if (errno != EINTR)
            return LastSystemError();
    return {};
}

} // namespace aiff
