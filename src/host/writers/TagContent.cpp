// SPDX-License-Identifier: MIT
#include "host/writers/TagContent.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

// Whether each value is one of the others, the beginning of one, or all of them in one text.
bool AreAmong(const TagLib::StringList& values, TagLib::StringList others)
{
    for (const char* const separator : {"; ", "/", " / ", ", "})
        others.append(others.toString(separator));
    return std::ranges::all_of(values, [&others](const TagLib::String& value) {
        return std::ranges::any_of(others, [&value](const TagLib::String& other) {
            return other.stripWhiteSpace().startsWith(value.stripWhiteSpace());
        });
    });
}

} // namespace

bool TagContent::Add(const TagLib::String& property, const TagLib::StringList& values)
{
    bool isAdded = false;
    for (const TagLib::String& value : values)
        if (!Utf8Of(value).empty())
            isAdded = texts.insert(property, value);
    return isAdded;
}

TagLib::StringList TagContent::AddMissing(const TagLib::PropertyMap& others)
{
    TagLib::StringList different;
    for (const auto& [property, values] : others) {
        const auto known = texts.find(property);
        if (known == texts.end())
            Add(property, values);
        else if (!AreAmong(values, known->second))
            different.append(property);
    }
    return different;
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
