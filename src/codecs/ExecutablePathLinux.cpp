// SPDX-License-Identifier: MIT
#include "codecs/ExecutablePath.h"

#include <filesystem>

namespace aiff::codecs
{

std::string ExecutablePath()
{
    std::error_code error;
    const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : path.string();
}

} // namespace aiff::codecs
