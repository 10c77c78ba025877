// SPDX-License-Identifier: MIT
#include "codecs/ExecutablePath.h"

#include <cstdint>
#include <filesystem>
#include <mach-o/dyld.h>
#include <vector>

namespace aiff::codecs
{

std::string ExecutablePath()
{
    uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size); // fails, and says the size needed
    std::vector<char> path(size + 1, '\0');
    if (_NSGetExecutablePath(path.data(), &size) != 0)
        return {};
    std::error_code error;
    const auto real = std::filesystem::canonical(path.data(), error);
    return error ? std::string() : real.string();
}

} // namespace aiff::codecs
