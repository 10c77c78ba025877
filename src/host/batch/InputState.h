// SPDX-License-Identifier: MIT

// Whether a file stays as it is while it is read.
#pragma once

#include "host/base/Input.h"

#include <filesystem>
#include <sys/stat.h>

namespace aiff::host
{

// What an input looks like. Of a URL, or a file that is not there, nothing is known.
class InputState
{
public:
    explicit InputState(const Input& input);

    // Whether another program has written to the file since `before`, or put another one in
    // its place.
    bool HasChangedSince(const InputState& before) const;

private:
    bool m_isKnown = false;
    struct stat m_status {
    };
    std::filesystem::file_time_type m_written; // exact to parts of a second, everywhere
};

} // namespace aiff::host
