// SPDX-License-Identifier: MIT

// Folders made for outputs.
#pragma once

#include "host/base/Problem.h"

#include <string>

namespace aiff::host
{

// A folder that is removed again unless something was written to it, also when the program is
// told to stop.
class NewFolder
{
public:
    NewFolder() = default;
    NewFolder(const NewFolder&) = delete;
    NewFolder& operator=(const NewFolder&) = delete;
    ~NewFolder();

    // Makes the folder, once. One that is there already stays, whoever made it.
    Problem Make(const std::string& path);

private:
    std::string m_made;
};

} // namespace aiff::host
