// SPDX-License-Identifier: MIT

// Decoding ima4, the IMA ADPCM of AIFF-C and QuickTime files.
#pragma once

#include "host/author/AiffSource.h"
#include "host/session/DecoderSession.h"
#include "host/session/PcmReader.h"

#include <memory>
#include <vector>

namespace aiff::host
{

// Packets of 34 bytes for each channel in turn become 64 frames of 16 bits. A packet's header
// rounds the last sample before it, so a decoder that begins each packet there, as libsndfile does,
// drifts from the encoder; this one goes on with what it has decoded, and therefore always
// begins with the first packet.
class Ima4Reader : public PcmReader
{
public:
    // source  open
    Ima4Reader(std::shared_ptr<const AiffSource> source, FrameRange range);

    STQvWaveFormat Format() const override { return m_format; }
    int64_t Length() const override;
    Step Next(std::span<const uint8_t>& pcm) override;
    Problem Failure() const override { return "cannot be read to the end of its sound data"; }

private:
    struct Channel {
        int predictor = 0;
        int stepIndex = 0;
    };
    void DecodePacket(std::span<const uint8_t> packet, Channel& state, size_t channel);

    std::shared_ptr<const AiffSource> m_source;
    STQvWaveFormat m_format{};
    int64_t m_first = 0; // frames
    int64_t m_end = 0;
    int64_t m_frame = 0; // the first one of the next packets
    std::vector<Channel> m_channels;
    std::vector<uint8_t> m_packets; // one of each channel
    std::vector<uint8_t> m_pcm;
};

} // namespace aiff::host
