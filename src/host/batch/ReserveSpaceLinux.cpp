#include "host/batch/ReserveSpace.h"

#include <cerrno>
#include <fcntl.h>

namespace host
{

bool ReserveSpace(int descriptor, int64_t size)
{
    return fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 0, size) == 0 || errno != ENOSPC;
}

} // namespace host
