// SPDX-License-Identifier: MIT
#include "host/commands/tags/TagArguments.h"

#include "support/text/Ascii.h"

#include <algorithm>
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
        const std::string value = text.substr(equals + 1);
        const auto same = std::ranges::find_if(
            items, [&name](const TagItem& item) { return EqualNoCase(item.name, name); });
        if (same == items.end())
            items.push_back({name, value, {}});
        else
            same->value += "\r" + value;
    }
    if (const auto blob = MakeTagBlob(items); !blob)
        return blob.Why();
    return items;
}

} // namespace aiff::host
