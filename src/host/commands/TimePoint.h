// SPDX-License-Identifier: MIT

// Positions and durations in a recording, as people write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace aiff::host
{

// A position in a recording, as given on the command line:
//   "44100f"              sample frames from the start
//   "1.5" or "1.5s"       seconds
//   "2:03.25", "1:00:00"  minutes or hours and minutes, then seconds
class TimePoint
{
public:
    // None when the text has another form.
    static std::optional<TimePoint> Parse(const std::string& text);

    bool NeedsRate() const { return !m_inFrames; }
    // The nearest sample frame at a rate in frames per second. Positions given in frames
    // need no rate.
    int64_t Frame(uint32_t rate) const;

private:
    bool m_inFrames = true;
    int64_t m_frames = 0;
    long double m_seconds = 0;
};

// "0:02.500", or "1:02:03.000" from one hour on.
std::string FormatDuration(int64_t milliseconds);

} // namespace aiff::host
