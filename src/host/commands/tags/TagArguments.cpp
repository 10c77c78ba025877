// SPDX-License-Identifier: MIT
#include "host/commands/tags/TagArguments.h"

#include "host/author/tags/KnownFields.h"
#include "host/base/Printable.h"
#include "support/text/Ascii.h"

#include <algorithm>
#include <set>
#include <sys/stat.h>

namespace aiff::host
{

Result<FilesAndRest> SplitArguments(const std::vector<std::string>& arguments,
                                    const std::function<bool(const std::string&)>& isFile,
                                    const std::string& what)
{
    const auto first = std::ranges::find_if_not(arguments, isFile);
    if (first == arguments.begin())
        return Problem("files must come first, and '" + *first + "' is not a file");
    FilesAndRest split{{arguments.begin(), first}, {first, arguments.end()}};
    const auto late = std::ranges::find_if(split.rest, isFile);
    if (late != split.rest.end())
        return Problem("'" + *late + "' comes after '" + split.rest.front() + "', where only " +
                       what + " may follow");
    return split;
}

bool Exists(const std::string& argument)
{
    struct stat status;
    return stat(argument.c_str(), &status) == 0;
}

void SayOwnField(const std::string& name)
{
    if (!MakesOwnField(name) || TagItem{name, {}, {}}.IsInformation())
        return;
    const std::string nearest = NearestFieldName(name);
    SayProblem("\"" + name + "\" is no known name and makes a field of its own (TXXX)" +
               (nearest.empty() ? "" : "; was \"" + nearest + "\" meant?"));
}

std::vector<std::string> FieldNames(const std::string& after)
{
    std::set<std::string> names;
    for (const KnownField& field : KnownFields()) {
        names.insert({field.name, field.property});
        names.insert(field.aliases.begin(), field.aliases.end());
    }
    names.erase("");
    std::vector<std::string> list;
    list.reserve(names.size());
    for (const std::string& name : names)
        list.push_back(name + after);
    return list;
}

Result<std::vector<TagItem>> ReadAssignments(const std::vector<std::string>& assignments)
{
    std::vector<TagItem> items;
    for (const std::string& text : assignments) {
        const size_t equals = text.find('=');
        const std::string name = text.substr(0, equals);
        if (equals == std::string::npos || name.empty())
            return Problem("'" + text + "' is not of the form NAME=VALUE");
        if (name.starts_with('_'))
            return Problem("'" + name + "': a field's name cannot begin with \"_\"");
        const std::string field = FieldName(name);
        const std::string value = text.substr(equals + 1);
        const auto same = std::ranges::find_if(
            items, [&field](const TagItem& item) { return EqualNoCase(item.name, field); });
        if (same == items.end() && !value.empty())
            SayOwnField(name);
        if (same == items.end())
            items.push_back({field, value, {}});
        else
            same->value += "\r" + value;
    }
    if (const auto blob = MakeTagBlob(items); !blob)
        return blob.Why();
    return items;
}

Result<std::vector<TagItem>> JoinTotals(std::vector<TagItem> items, const std::vector<TagItem>& own)
{
    std::vector<TagItem> joined;
    for (const TagItem& total : items) {
        const KnownField* const field = FindKnownField(total.name);
        if (field == nullptr || field->totalOf.empty() || field->name != total.name)
            continue;
        const TagItem* number = FindItem(items, field->totalOf);
        number = number != nullptr ? number : FindItem(own, field->totalOf);
        std::string value =
            number == nullptr ? "" : number->value.substr(0, number->value.find('/'));
        if (value.empty() && !total.value.empty())
            return Problem("has no " + field->totalOf + " that a total could go with; give " +
                           field->totalOf + "=NUMBER, too");
        if (!total.value.empty())
            value += "/" + total.value;
        joined.push_back({field->totalOf, value, {}});
    }
    std::erase_if(items, [&joined](const TagItem& item) {
        const KnownField* const field = FindKnownField(item.name);
        return FindItem(joined, item.name) != nullptr ||
               (field != nullptr && !field->totalOf.empty() && field->name == item.name);
    });
    std::ranges::copy(joined, std::back_inserter(items));
    return items;
}

} // namespace aiff::host
