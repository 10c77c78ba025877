#include "host/commands/TagArguments.h"

#include "support/text/Ascii.h"

#include <algorithm>
#include <sys/stat.h>

namespace host
{

bool SplitArguments(const std::vector<std::string>& arguments,
                    const std::function<bool(const std::string&)>& isFile, const std::string& what,
                    FilesAndRest& split, std::string& problem)
{
    const auto first = std::find_if_not(arguments.begin(), arguments.end(), isFile);
    split.files.assign(arguments.begin(), first);
    split.rest.assign(first, arguments.end());
    if (split.files.empty()) {
        problem = "the files must come first, and '" + arguments.front() + "' is none";
        return false;
    }
    const auto late = std::find_if(split.rest.begin(), split.rest.end(), isFile);
    if (late == split.rest.end())
        return true;
    problem =
        "'" + *late + "' stands behind '" + split.rest.front() + "', where only " + what + " may";
    return false;
}

bool ExistsAsFile(const std::string& argument)
{
    struct stat status;
    return stat(argument.c_str(), &status) == 0;
}

bool ReadAssignments(const std::vector<std::string>& assignments, std::vector<TagItem>& items,
                     std::string& problem)
{
    for (const std::string& text : assignments) {
        const size_t equals = text.find('=');
        TagItem item;
        item.name = text.substr(0, equals);
        if (equals == std::string::npos || item.name.empty()) {
            problem = "'" + text + "' is no NAME=VALUE";
            return false;
        }
        if (item.name.starts_with('_')) {
            problem = "'" + item.name + "': names that begin with \"_\" are no fields";
            return false;
        }
        item.value = text.substr(equals + 1);
        const auto same = std::find_if(items.begin(), items.end(), [&item](const TagItem& other) {
            return EqualNoCase(other.name, item.name);
        });
        if (same == items.end())
            items.push_back(std::move(item));
        else
            same->value += "\r" + item.value;
    }
    std::vector<uint8_t> blob;
    return MakeTagBlob(items, blob, problem);
}

} // namespace host
