// SPDX-License-Identifier: MIT
#include "host/author/tags/TagDifferences.h"

#include "host/writers/MakeId3.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace aiff::host
{
namespace
{

using TagLib::String;
using TagLib::StringList;

// Each value as often as it occurs.
bool HoldsAll(const StringList& values, const StringList& wanted)
{
    const std::multiset<String> found(values.begin(), values.end());
    const std::multiset<String> sought(wanted.begin(), wanted.end());
    return std::includes(found.begin(), found.end(), sought.begin(), sought.end());
}

// A text of any length in a line.
std::string Quoted(const StringList& values, const char* separator = "; ")
{
    constexpr unsigned kMostShown = 100;
    const String text = values.toString(separator);
    const std::string end = text.size() > kMostShown ? "...\"" : "\"";
    return "\"" + Utf8Of(text.substr(0, kMostShown)) + end;
}

bool IsSame(const TagPicture& one, const TagPicture& other)
{
    return std::tie(one.type, one.mimeType, one.description, one.data) ==
           std::tie(other.type, other.mimeType, other.description, other.data);
}

} // namespace

std::vector<std::string> TagDifferences(TagContent wanted, TagContent made)
{
    std::vector<std::string> notes;
    UseId3Forms(wanted.texts);
    UseId3Forms(made.texts);
    for (const auto& [property, values] : wanted.texts) {
        const StringList found = made.texts.value(property);
        const std::string what = Utf8Of(property) + " " + Quoted(values);
        const bool isSplit = wanted.joined.contains(property) && !made.joined.contains(property);
        if (found.isEmpty())
            notes.push_back("left out: " + what);
        else if (!HoldsAll(found, values))
            notes.push_back(what + " reads back as " + Quoted(found));
        else if (isSplit)
            notes.push_back(Utf8Of(property) + " " + Quoted(values, "/") +
                            " becomes several values, as \"/\" separates values in its tag");
    }
    const auto isLost = [&made](const TagPicture& picture) {
        return std::ranges::none_of(
            made.pictures, [&picture](const TagPicture& other) { return IsSame(picture, other); });
    };
    if (std::ranges::any_of(wanted.pictures, isLost))
        notes.emplace_back("has a picture that does not read back as it was");
    std::set<std::string> lost;
    std::ranges::set_difference(wanted.leftOut, made.leftOut, std::inserter(lost, lost.end()));
    if (!lost.empty())
        notes.push_back("left out: " + Enumerated(lost));
    return notes;
}

} // namespace aiff::host
