// SPDX-License-Identifier: MIT
#include "host/batch/InOrder.h"

#include <utility>

namespace aiff::host
{

void InOrder::Done(size_t index, std::function<void()> show)
{
    const std::lock_guard lock(m_access);
    m_waiting[index] = std::move(show);
    for (; m_next < m_waiting.size() && m_waiting[m_next] != nullptr; ++m_next)
        std::exchange(m_waiting[m_next], nullptr)();
}

} // namespace aiff::host
