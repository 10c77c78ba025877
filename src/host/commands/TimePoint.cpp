// SPDX-License-Identifier: MIT
#include "host/commands/TimePoint.h"

#include "support/text/Ascii.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string_view>

namespace aiff::host
{
namespace
{

// Far longer than any recording, and safe to multiply by any rate.
constexpr int64_t kMaxSeconds = 1'000'000'000;
constexpr size_t kMaxDecimals = 12;

std::optional<int64_t> ReadNumber(std::string_view digits)
{
    int64_t value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (!std::ranges::all_of(digits, IsAsciiDigit<char>) || result.ec != std::errc())
        return std::nullopt;
    return value;
}

// "12" or "12.25": digits only, so that neither a locale nor an exponent matters.
std::optional<long double> ReadDecimal(std::string_view text)
{
    const size_t point = text.find('.');
    const std::optional<int64_t> whole = ReadNumber(text.substr(0, point));
    if (!whole || *whole > kMaxSeconds)
        return std::nullopt;
    const auto value = static_cast<long double>(*whole);
    if (point == std::string_view::npos)
        return value;
    const std::string_view decimals = text.substr(point + 1);
    const std::optional<int64_t> fraction = ReadNumber(decimals);
    if (!fraction || decimals.size() > kMaxDecimals)
        return std::nullopt;
    return value + static_cast<long double>(*fraction) /
                       std::pow(10.0L, static_cast<long double>(decimals.size()));
}

// "[[hours:]minutes:]seconds"
std::optional<long double> ReadSeconds(std::string_view text)
{
    int64_t minutes = 0;
    for (int i = 0; i < 2 && text.find(':') != std::string_view::npos; ++i) {
        const std::optional<int64_t> part = ReadNumber(TakeUntil(text, ':'));
        if (!part || *part > kMaxSeconds / 3600)
            return std::nullopt;
        minutes = minutes * 60 + *part;
    }
    const std::optional<long double> seconds = ReadDecimal(text);
    if (!seconds)
        return std::nullopt;
    return *seconds + static_cast<long double>(minutes) * 60;
}

} // namespace

std::optional<TimePoint> TimePoint::Parse(const std::string& text)
{
    std::string_view number = text;
    const char unit = number.empty() ? '\0' : number.back();
    if (unit == 'f' || unit == 's')
        number.remove_suffix(1);
    TimePoint point;
    point.m_inFrames = unit == 'f';
    if (point.m_inFrames) {
        const std::optional<int64_t> frames = ReadNumber(number);
        point.m_frames = frames.value_or(0);
        return frames ? std::optional(point) : std::nullopt;
    }
    const std::optional<long double> seconds = ReadSeconds(number);
    point.m_seconds = seconds.value_or(0);
    return seconds ? std::optional(point) : std::nullopt;
}

int64_t TimePoint::Frame(uint32_t rate) const
{
    return m_inFrames ? m_frames : std::llround(m_seconds * static_cast<long double>(rate));
}

std::string FormatDuration(int64_t milliseconds)
{
    const int64_t total = std::max<int64_t>(milliseconds, 0);
    const auto part = [total](int64_t unit, int64_t count) {
        return static_cast<long long>(total / unit % count);
    };
    const long long hours = part(3'600'000, std::numeric_limits<int64_t>::max());
    char text[64];
    if (hours > 0)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld.%03lld", hours, part(60'000, 60),
                      part(1000, 60), part(1, 1000));
    else
        std::snprintf(text, sizeof text, "%lld:%02lld.%03lld", part(60'000, 60), part(1000, 60),
                      part(1, 1000));
    return text;
}

} // namespace aiff::host
