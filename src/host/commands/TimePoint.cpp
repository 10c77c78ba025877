#include "host/commands/TimePoint.h"

#include "support/text/Ascii.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string_view>

namespace host
{
namespace
{

// Far beyond any recording, and safely multiplied by any rate.
constexpr int64_t kMaxSeconds = 1'000'000'000;
constexpr size_t kMaxDecimals = 12;

bool ReadNumber(std::string_view digits, int64_t& value)
{
    if (digits.empty() || !std::ranges::all_of(digits, IsAsciiDigit<char>))
        return false;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return result.ec == std::errc();
}

// "12" or "12.25": digits only, so that no locale and no exponent plays in.
bool ReadDecimal(std::string_view text, long double& value)
{
    const size_t point = text.find('.');
    int64_t whole = 0;
    if (!ReadNumber(text.substr(0, point), whole) || whole > kMaxSeconds)
        return false;
    value = static_cast<long double>(whole);
    if (point == std::string_view::npos)
        return true;
    const std::string_view decimals = text.substr(point + 1);
    int64_t fraction = 0;
    if (decimals.size() > kMaxDecimals || !ReadNumber(decimals, fraction))
        return false;
    value += static_cast<long double>(fraction) /
             std::pow(10.0L, static_cast<long double>(decimals.size()));
    return true;
}

// "[[hours:]minutes:]seconds"
bool ReadSeconds(std::string_view text, long double& seconds)
{
    int64_t minutes = 0;
    for (int i = 0; i < 2 && text.find(':') != std::string_view::npos; ++i) {
        int64_t part = 0;
        const size_t colon = text.find(':');
        if (!ReadNumber(text.substr(0, colon), part) || part > kMaxSeconds / 3600)
            return false;
        minutes = minutes * 60 + part;
        text.remove_prefix(colon + 1);
    }
    if (!ReadDecimal(text, seconds))
        return false;
    seconds += static_cast<long double>(minutes) * 60;
    return true;
}

} // namespace

bool TimePoint::Parse(const std::string& text, TimePoint& point)
{
    std::string_view number = text;
    const char unit = number.empty() ? '\0' : number.back();
    point.m_inFrames = unit == 'f';
    if (unit == 'f' || unit == 's')
        number.remove_suffix(1);
    return point.m_inFrames ? ReadNumber(number, point.m_frames)
                            : ReadSeconds(number, point.m_seconds);
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

} // namespace host
