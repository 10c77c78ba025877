// SPDX-License-Identifier: MIT
#include "host/session/SessionReader.h"

#include "host/session/Reason.h"

#include <algorithm>

namespace aiff::host
{

int64_t SessionReader::Length() const
{
    const int64_t bytes = m_session.AudioInfo().nLengthBytes;
    return m_session.HasUnknownLength() ? -1 : std::max<int64_t>(bytes, 0);
}

Problem SessionReader::Failure() const
{
    return FailureReason(m_session);
}

Problem SessionReader::Damage() const
{
    return DamageWarning(m_session);
}

} // namespace aiff::host
