// SPDX-License-Identifier: MIT
#include "host/writers/OpenSndfile.h"

#include <mutex>

namespace aiff::host
{

Result<SNDFILE*> OpenSndfile(const std::function<SNDFILE*()>& open)
{
    static std::mutex access;
    const std::lock_guard lock(access);
    SNDFILE* file = open();
    if (file == nullptr)
        return Problem(sf_strerror(nullptr));
    return file;
}

} // namespace aiff::host
