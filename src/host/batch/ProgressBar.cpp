// SPDX-License-Identifier: MIT
#include "host/batch/ProgressBar.h"

#include "host/base/Columns.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace aiff::host
{
namespace
{

constexpr size_t kGap = 2;

std::string MegaBytes(double bytes)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f MB", bytes / 1e6);
    return text;
}

std::string TimeText(double seconds)
{
    const auto all = static_cast<long long>(std::ceil(seconds));
    const long long hours = all / 3600;
    const long long minutes = all / 60 % 60;
    char text[48];
    if (hours != 0)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld left", hours, minutes, all % 60);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld left", minutes, all % 60);
    return text;
}

// In the order of their importance.
std::vector<std::string> Parts(const ProgressState& state)
{
    constexpr double kMostSeconds = 100.0 * 3600; // nobody believes more
    std::vector<std::string> parts;
    if (state.files > 1)
        parts.push_back(std::to_string(state.filesDone) + " of " + std::to_string(state.files));
    if (state.part < 0)
        parts.emplace_back("total unknown");
    else if (state.secondsLeft >= 0 && state.secondsLeft < kMostSeconds)
        parts.push_back(TimeText(state.secondsLeft));
    if (state.bytesPerSecond >= 0)
        parts.push_back(MegaBytes(state.bytesPerSecond) + "/s");
    return parts;
}

std::string Bar(double part, size_t width)
{
    const auto filled = static_cast<size_t>(part * static_cast<double>(width));
    return "[" + std::string(filled, '#') + std::string(width - filled, '-') + "] ";
}

} // namespace

std::string ProgressLine(const ProgressState& state, size_t columns)
{
    constexpr size_t kLeastBar = 8;
    constexpr size_t kMostBar = 40;
    constexpr size_t kBrackets = 3; // and the blank after them
    constexpr size_t kLeastName = 10;
    char percent[8];
    std::snprintf(percent, sizeof percent, "%3d%%", static_cast<int>(state.part * 100));
    std::string line =
        state.part < 0 ? MegaBytes(static_cast<double>(state.bytes)) + " received" : percent;
    if (line.size() > columns)
        return {};
    for (const std::string& part : Parts(state))
        if (line.size() + kGap + part.size() <= columns)
            line += std::string(kGap, ' ') + part;
    size_t room = columns - line.size();
    if (state.part >= 0 && room >= kLeastBar + kBrackets) {
        line = Bar(state.part, std::clamp(room / 2, kLeastBar, kMostBar)) + line;
        room = columns - line.size();
    }
    if (!state.name.empty() && room >= kGap + kLeastName)
        line += std::string(kGap, ' ') + CutToColumns(state.name, room - kGap);
    return line;
}

void Speed::Note(int64_t bytes, std::chrono::steady_clock::time_point now)
{
    constexpr double kMemory = 4; // seconds after which something counts for a third
    if (!m_hasStarted) {
        m_hasStarted = true;
        m_start = now;
    } else {
        const double passed = std::chrono::duration<double>(now - m_last).count();
        const double fading = std::exp(-passed / kMemory);
        m_bytes = m_bytes * fading + static_cast<double>(std::max<int64_t>(bytes - m_lastBytes, 0));
        m_seconds = m_seconds * fading + passed;
    }
    m_last = now;
    m_lastBytes = bytes;
}

double Speed::BytesPerSecond() const
{
    const bool isKnown = m_last - m_start >= std::chrono::seconds(1) && m_seconds > 0;
    return isKnown ? m_bytes / m_seconds : -1;
}

} // namespace aiff::host
