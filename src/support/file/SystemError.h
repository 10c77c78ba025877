// SPDX-License-Identifier: MIT

// What a failed system call left in errno, as a value.
#pragma once

#include <cerrno>
#include <system_error>

namespace aiff
{

// Ask directly after the failed call: the next one may change errno.
inline std::error_code LastSystemError() noexcept
{
    return {errno, std::generic_category()};
}

} // namespace aiff
