// SPDX-License-Identifier: MIT

// Dates of tags: "2004", "2004-03" and "2004-03-15".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace aiff::id3parser
{

inline constexpr std::string_view kDatePattern = "####-##-##";

// Whether the text is as long as the pattern and has a digit for every "#" and the
// pattern's own character elsewhere.
bool _is_valid_date(std::string_view text, std::string_view pattern);
bool is_valid_year(std::string_view text);

// What the "Year" field becomes when a TYER or a TDAT frame adds to its present value: a
// valid year, or day and month in four digits.
std::string YearWithTYER(std::string_view present, std::string_view year);
std::string YearWithTDAT(std::string_view present, std::string_view dayAndMonth);

// The texts of TYER and TDAT.
struct OldDate {
    std::string year;
    std::string dayAndMonth; // empty for a year alone; the day is "00" for a month alone
};

// Nothing when the text is no date.
std::optional<OldDate> SplitOldDate(std::string_view date);

} // namespace aiff::id3parser
