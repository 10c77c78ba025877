#include "host/batch/ReserveSpace.h"

#include <cerrno>
#include <fcntl.h>

namespace aiff::host
{

bool ReserveSpace(int descriptor, int64_t size)
{
    fstore_t store{};
    store.fst_flags = F_ALLOCATEALL;
    store.fst_posmode = F_PEOFPOSMODE;
    store.fst_length = size;
    return fcntl(descriptor, F_PREALLOCATE, &store) == 0 || errno != ENOSPC;
}

} // namespace aiff::host
