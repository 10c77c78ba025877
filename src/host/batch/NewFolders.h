// SPDX-License-Identifier: MIT

// Folders made for outputs.
#pragma once

#include "host/base/Problem.h"

#include <mutex>
#include <string>
#include <vector>

namespace aiff::host
{

// Folders that are removed again unless something was written to them, also when the program
// is told to stop.
class NewFolders
{
public:
    // sync  folders that are made will survive a loss of power
    explicit NewFolders(bool sync) : m_sync(sync) {}
    NewFolders(const NewFolders&) = delete;
    NewFolders& operator=(const NewFolders&) = delete;
    ~NewFolders();

    // Makes the folder and those above it. One that is there already stays, whoever made it.
    // From any thread.
    Problem Make(const std::string& path);

private:
    Problem MakeOne(const std::string& path);

    const bool m_sync;
    std::mutex m_access;
    std::vector<std::string> m_made;
};

} // namespace aiff::host
