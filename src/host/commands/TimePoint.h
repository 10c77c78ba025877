#pragma once

#include <cstdint>
#include <string>

namespace host
{

// A place in a recording, as given on the command line:
//   "44100f"            sample frames from the start
//   "1.5" or "1.5s"     seconds
//   "2:03.25", "1:00:00"  minutes and hours before the seconds
class TimePoint
{
public:
    // returns false when the text is none of these
    [[nodiscard]] static bool Parse(const std::string& text, TimePoint& point);

    bool NeedsRate() const { return !m_inFrames; }
    // The sample frame nearest to it, for a rate in frames per second. Frames need
    // no rate.
    int64_t Frame(uint32_t rate) const;

private:
    bool m_inFrames = true;
    int64_t m_frames = 0;
    long double m_seconds = 0;
};

// "0:02.500", or "1:02:03.000" from one hour on.
std::string FormatDuration(int64_t milliseconds);

} // namespace host
