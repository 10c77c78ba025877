// SPDX-License-Identifier: MIT
#include "host/author/Ima4Reader.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <utility>

namespace aiff::host
{
namespace
{

constexpr size_t kPacketBytes = 34;
constexpr size_t kPacketHeader = 2;
constexpr int64_t kPacketFrames = 64;
constexpr int kSampleBytes = 2;

// The tables of the IMA's recommendation.
constexpr std::array<int, 89> kSteps = {
    7,     8,     9,     10,    11,    12,    13,    14,    16,    17,    19,   21,    23,
    25,    28,    31,    34,    37,    41,    45,    50,    55,    60,    66,   73,    80,
    88,    97,    107,   118,   130,   143,   157,   173,   190,   209,   230,  253,   279,
    307,   337,   371,   408,   449,   494,   544,   598,   658,   724,   796,  876,   963,
    1060,  1166,  1282,  1411,  1552,  1707,  1878,  2066,  2272,  2499,  2749, 3024,  3327,
    3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845,  8630,  9493, 10442, 11487,
    12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};
constexpr std::array<int, 8> kIndexChanges = {-1, -1, -1, -1, 2, 4, 6, 8};
constexpr int kLastStep = static_cast<int>(kSteps.size()) - 1;

// The header of a packet has the upper 9 bits of a sample and, below them, the index of a step.
constexpr int kIndexBits = 0x7F;

} // namespace

Ima4Reader::Ima4Reader(std::shared_ptr<const AiffSource> source, FrameRange range)
    : m_source(std::move(source)), m_format(m_source->Format()), m_channels(m_format.nChannels)
{
    m_packets.resize(m_channels.size() * kPacketBytes);
    m_format.nBitsPerSample = kSampleBytes * 8;
    m_format.nBlockAlign = static_cast<uint16_t>(m_channels.size() * kSampleBytes);
    m_format.nAvgBytesPerSec = m_format.nSamplesPerSec * m_format.nBlockAlign;
    const int64_t frames =
        m_source->Layout().bytes / std::ssize(m_packets) * kPacketFrames; // whole packets
    m_end = range.end == QV_RANGE_TO_END ? frames : std::min(range.end, frames);
    m_first = std::min(range.first, m_end);
}

int64_t Ima4Reader::Length() const
{
    return (m_end - m_first) * m_format.nBlockAlign;
}

// Takes samples of 4 bits, the first one in the lower half of a byte.
void Ima4Reader::DecodePacket(std::span<const uint8_t> packet, Channel& state, size_t channel)
{
    const int header = static_cast<int16_t>(uint32_t{packet[0]} << 8 | packet[1]);
    const int rounded = header & ~kIndexBits;
    const int index = std::min(header & kIndexBits, kLastStep);
    if (index != state.stepIndex || std::abs(rounded - state.predictor) > kIndexBits)
        state = {rounded, index};
    uint8_t* out = &m_pcm[channel * kSampleBytes];
    for (size_t i = 0; i < static_cast<size_t>(kPacketFrames); ++i, out += m_format.nBlockAlign) {
        const int code = packet[kPacketHeader + i / 2] >> (i % 2 * 4) & 0xF;
        const int step = kSteps[static_cast<size_t>(state.stepIndex)];
        int change = step >> 3;
        for (int bit = 4, part = step; bit != 0; bit >>= 1, part >>= 1)
            change += (code & bit) != 0 ? part : 0;
        state.predictor = std::clamp<int>(state.predictor + ((code & 8) != 0 ? -change : change),
                                          std::numeric_limits<int16_t>::min(),
                                          std::numeric_limits<int16_t>::max());
        state.stepIndex = std::clamp(state.stepIndex + kIndexChanges[static_cast<size_t>(code & 7)],
                                     0, kLastStep);
        out[0] = static_cast<uint8_t>(state.predictor);
        out[1] = static_cast<uint8_t>(state.predictor >> 8);
    }
}

PcmReader::Step Ima4Reader::Next(std::span<const uint8_t>& pcm)
{
    while (m_frame < m_end) {
        const SoundLayout& layout = m_source->Layout();
        const int64_t position = layout.position + m_frame / kPacketFrames * std::ssize(m_packets);
        if (m_source->File().ReadAt(position, m_packets) != m_packets.size())
            return Step::Failed;
        m_pcm.resize(static_cast<size_t>(kPacketFrames) * m_format.nBlockAlign);
        for (size_t i = 0; i < m_channels.size(); ++i)
            DecodePacket(std::span(m_packets).subspan(i * kPacketBytes, kPacketBytes),
                         m_channels[i], i);
        const int64_t skipped = std::clamp<int64_t>(m_first - m_frame, 0, kPacketFrames);
        const int64_t used = std::min(m_end - m_frame, kPacketFrames);
        m_frame += kPacketFrames;
        if (skipped >= used)
            continue;
        pcm = std::span(m_pcm).subspan(static_cast<size_t>(skipped) * m_format.nBlockAlign,
                                       static_cast<size_t>(used - skipped) * m_format.nBlockAlign);
        return Step::Block;
    }
    return Step::End;
}

} // namespace aiff::host
