// SPDX-License-Identifier: MIT
#include "tags/id3parser/fields/Dates.h"

#include "support/text/Ascii.h"

namespace aiff::id3parser
{

bool _is_valid_date(std::string_view text, std::string_view pattern)
{
    if (text.size() != pattern.size())
        return false;
    for (size_t i = 0; i < text.size(); ++i) {
        if (pattern[i] == '#' ? !IsAsciiDigit(text[i]) : text[i] != pattern[i])
            return false;
    }
    return true;
}

bool is_valid_year(std::string_view text)
{
    return _is_valid_date(text, "####");
}

std::string YearWithTYER(std::string_view present, std::string_view year)
{
    std::string result(year);
    if (_is_valid_date(present, kDatePattern))
        result += present.substr(4);
    return result;
}

std::string YearWithTDAT(std::string_view present, std::string_view dayAndMonth)
{
    const bool known = is_valid_year(present) || _is_valid_date(present, kDatePattern);
    std::string result(known ? present.substr(0, 4) : "0000");
    const std::string_view day = dayAndMonth.substr(0, 2);
    result.append("-").append(dayAndMonth.substr(2, 2));
    if (day != "00")
        result.append("-").append(day);
    return result;
}

std::optional<OldDate> SplitOldDate(std::string_view date)
{
    if (is_valid_year(date))
        return OldDate{std::string(date), {}};
    const bool full = _is_valid_date(date, kDatePattern) || _is_valid_date(date, "#### ## ##");
    if (!full && !_is_valid_date(date, "####-##"))
        return std::nullopt;
    const std::string day(full ? date.substr(8, 2) : "00");
    return OldDate{std::string(date.substr(0, 4)), day + std::string(date.substr(5, 2))};
}

} // namespace aiff::id3parser
