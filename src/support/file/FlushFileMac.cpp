// SPDX-License-Identifier: MIT
#include "support/file/FlushFile.h"
#include "support/file/SystemError.h"

#include <fcntl.h>
#include <unistd.h>

namespace aiff
{

// Here fsync leaves the data in the disk's own cache, in any order. File systems that know
// neither of the stronger calls, such as those of other machines, flush all with it.
std::error_code FlushFile(int file, Flush flush)
{
    if ((flush == Flush::Order && fcntl(file, F_BARRIERFSYNC) == 0) ||
        fcntl(file, F_FULLFSYNC) == 0)
        return {};
    while (fsync(file) != 0)
        if (errno != EINTR)
            return LastSystemError();
    return {};
}

} // namespace aiff
