// SPDX-License-Identifier: MIT
#include "host/session/TagText.h"

#include "host/base/Printable.h"

#include <cstdio>

namespace aiff::host
{
namespace
{

std::string PictureText(const TagItem& item)
{
    const std::string type = PictureType(item.data);
    std::string text = type.empty() ? "unknown type" : type;
    text += " " + Counted(std::ssize(item.data), "byte");
    const std::string description = item.PictureDescription();
    return description.empty() ? text : text + " \"" + description + "\"";
}

} // namespace

void PrintTags(const std::vector<TagItem>& tags, int indent)
{
    const auto print = [indent](const std::string& name, const std::string& value) {
        std::printf("%*s%-22s %s\n", indent, "", Printable(name).c_str(), Printable(value).c_str());
    };
    for (const TagItem& item : tags) {
        if (item.IsPicture()) {
            print("Picture: " + item.PictureRole(), PictureText(item));
            continue;
        }
        std::string name = item.name;
        for (const std::string& value : item.Values()) {
            print(name, value);
            name.clear();
        }
    }
}

Json TagsJson(const std::vector<TagItem>& tags)
{
    Json list = Json::array();
    for (const TagItem& item : tags) {
        Json entry = {{"name", item.name}};
        if (item.IsPicture()) {
            entry["picture"] = {{"role", item.PictureRole()},
                                {"description", item.PictureDescription()},
                                {"type", PictureType(item.data)},
                                {"bytes", item.data.size()}};
        } else {
            entry["value"] = item.value;
            entry["values"] = item.Values();
        }
        list.push_back(std::move(entry));
    }
    return list;
}

} // namespace aiff::host
