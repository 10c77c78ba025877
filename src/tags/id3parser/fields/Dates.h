// Dates of tags: "2004", "2004-03" and "2004-03-15".
#pragma once

#include <string>
#include <string_view>

namespace id3parser
{

inline constexpr std::string_view kDatePattern = "####-##-##";

// Whether the text is as long as the pattern and has a digit for every "#" and the
// pattern's own character elsewhere.
bool _is_valid_date(std::string_view text, std::string_view pattern);
bool is_valid_year(std::string_view text);

// What the "Year" field becomes when a TYER or a TDAT frame is read beside its
// present value. A TDAT holds day and month: "1503".
std::string YearWithTYER(std::string_view present, std::string_view year);
std::string YearWithTDAT(std::string_view present, std::string_view dayAndMonth);

// The TYER and TDAT texts of a date; false, with the whole text as `year`, when it
// is none. An empty `dayAndMonth` means no TDAT, a day of "00" a month without day.
bool SplitOldDate(std::string_view date, std::string& year, std::string& dayAndMonth);

} // namespace id3parser
