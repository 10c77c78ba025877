#include "host/batch/ReserveSpace.h"

#include <cerrno>
#include <fcntl.h>

namespace aiff::host
{

bool ReserveSpace(int descriptor, int64_t size)
{
    return fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 0, size) == 0 || errno != ENOSPC;
}

} // namespace aiff::host
