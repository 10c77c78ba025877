// SPDX-License-Identifier: MIT

// The sound that a decoder gives, as a reader.
#pragma once

#include "host/session/DecoderSession.h"
#include "host/session/PcmReader.h"

namespace aiff::host
{

// Reads from a session that is open for decoding and outlives the reader.
class SessionReader : public PcmReader
{
public:
    explicit SessionReader(DecoderSession& session) : m_session(session) {}

    STQvWaveFormat Format() const override { return m_session.AudioInfo().WaveFormat; }
    int64_t Length() const override;
    Step Next(std::span<const uint8_t>& pcm) override { return m_session.Next(pcm); }
    Problem Failure() const override;
    Problem Damage() const override;

private:
    DecoderSession& m_session;
};

} // namespace aiff::host
