// SPDX-License-Identifier: MIT

// The line that shows how far a command has got.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace aiff::host
{

struct ProgressState {
    size_t files = 1;
    size_t filesDone = 0;
    // Of the whole, 0 to 1; negative where the whole is unknown.
    double part = 0;
    int64_t bytes = 0;          // worked on so far
    double bytesPerSecond = -1; // negative: not known yet
    double secondsLeft = -1;    // negative: not known
    std::string name;           // of a file at work, as Printable makes it
};

// What fits into a line of so many columns, the most important first; empty where nothing does.
std::string ProgressLine(const ProgressState& state, size_t columns);

// How fast bytes pass, lately: older ones count less and less.
class Speed
{
public:
    // `bytes` is the sum so far. What goes down counts as no progress.
    void Note(int64_t bytes, std::chrono::steady_clock::time_point now);
    // Negative in the first second, when it would only jump about.
    double BytesPerSecond() const;

private:
    bool m_hasStarted = false;
    std::chrono::steady_clock::time_point m_start;
    std::chrono::steady_clock::time_point m_last;
    int64_t m_lastBytes = 0;
    double m_bytes = 0;   // of late
    double m_seconds = 0; // that these took
};

} // namespace aiff::host
