// SPDX-License-Identifier: MIT
#include "host/batch/InputState.h"

namespace aiff::host
{

InputState::InputState(const Input& input)
{
    if (!input.IsFile() || stat(input.Path().c_str(), &m_status) != 0)
        return;
    std::error_code error;
    m_written = std::filesystem::last_write_time(input.Path(), error);
    m_isKnown = !error;
}

bool InputState::HasChangedSince(const InputState& before) const
{
    if (!before.m_isKnown || !m_isKnown)
        return before.m_isKnown;
    return m_status.st_dev != before.m_status.st_dev || m_status.st_ino != before.m_status.st_ino ||
           m_status.st_size != before.m_status.st_size || m_written != before.m_written;
}

} // namespace aiff::host
