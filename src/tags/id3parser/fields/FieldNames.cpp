// SPDX-License-Identifier: MIT
#include "tags/id3parser/fields/FieldNames.h"

#include "support/Rating.h"
#include "support/text/Ascii.h"

#include <algorithm>

namespace aiff::id3parser
{

namespace
{

constexpr std::string_view kITunesNormalisation = "iTunNORM";

template <class Names>
bool IsOneOf(std::string_view name, const Names& names)
{
    return std::ranges::any_of(names, [=](std::string_view n) { return EqualNoCase(n, name); });
}

bool SkipPrefix(std::string_view& field, std::string_view prefix)
{
    if (!BeginsNoCase(field, prefix))
        return false;
    field.remove_prefix(prefix.size());
    field.remove_prefix(std::min(field.find_first_not_of(' '), field.size()));
    return true;
}

} // namespace

bool IsRGMeta(std::string_view field)
{
    return IsOneOf(field, kReplayGainFields);
}

bool IsSaneRGVal(std::string_view value)
{
    return std::ranges::any_of(value, IsAsciiDigit<char>);
}

bool isFieldNameSlashTXXX(std::string_view field)
{
    return IsOneOf(field, kSlashFields);
}

void multiTXXX_undecorate(std::string& field)
{
    if (field.empty() || field.back() != ']')
        return;
    size_t open = field.size() - 1;
    while (open > 0 && IsAsciiDigit(field[open - 1]))
        --open;
    const bool anyDigit = open < field.size() - 1;
    if (anyDigit && open > 1 && field[open - 1] == '[')
        field.resize(open - 1);
}

std::string FieldWithDescription(std::string_view prefix, std::string_view description)
{
    std::string field(prefix);
    if (!description.empty())
        field.append(" ").append(description);
    return field;
}

bool skip_comment_prefix(std::string_view& field)
{
    return SkipPrefix(field, kFieldComment);
}

bool skip_www_prefix(std::string_view& field)
{
    return SkipPrefix(field, kFieldUserUrl);
}

std::string CanonicalField(std::string_view field)
{
    std::string_view description = field;
    if (skip_www_prefix(description))
        return FieldWithDescription(kFieldUserUrl, description);
    if (skip_comment_prefix(description))
        return FieldWithDescription(kFieldComment, commNameSanity(description));
    return std::string(field);
}

std::string commNameSanity(std::string_view description)
{
    const bool normalisation = EqualNoCase(description, kITunesNormalisation);
    return std::string(normalisation ? kITunesNormalisation : description);
}

bool IsItunesCrap(std::string_view description)
{
    return description.starts_with("iTun");
}

bool iTunIsNumeric(std::string_view text)
{
    return std::ranges::all_of(
        text, [](char c) { return c == ' ' || IsAsciiDigit(c) || (c >= 'A' && c <= 'F'); });
}

int POPMToRating(uint8_t byte)
{
    const auto* found = std::ranges::lower_bound(POPM10_Table, byte);
    return static_cast<int>(found - std::begin(POPM10_Table));
}

uint8_t ratingToPOPM(int rating)
{
    constexpr int kMost = static_cast<int>(std::size(POPM10_Table)) - 1;
    return rating > kMost ? uint8_t{0xFF} : POPM10_Table[std::max(rating, 0)];
}

} // namespace aiff::id3parser
