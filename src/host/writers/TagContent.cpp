// SPDX-License-Identifier: MIT
#include "host/writers/TagContent.h"

namespace aiff::host
{

bool TagContent::Add(const TagLib::String& property, const TagLib::StringList& values)
{
    bool isAdded = false;
    for (const TagLib::String& value : values)
        if (!Utf8Of(value).empty())
            isAdded = texts.insert(property, value);
    return isAdded;
}

void TagContent::AddMissing(const TagLib::PropertyMap& others)
{
    for (const auto& [property, values] : others)
        if (!texts.contains(property))
            Add(property, values);
}

TagLib::String TagText(std::string_view utf8)
{
    return TagLib::String(std::string(utf8), TagLib::String::UTF8);
}

std::string Utf8Of(const TagLib::String& text)
{
    return text.to8Bit(true);
}

std::string Enumerated(const std::set<std::string>& names)
{
    std::string all;
    for (const std::string& name : names)
        all += (all.empty() ? "" : ", ") + name;
    return all;
}

} // namespace aiff::host
