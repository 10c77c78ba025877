#include "tags/id3parser/MetaMap.h"

#include "tags/id3parser/FieldNames.h"

#include <algorithm>

namespace id3parser
{

char metaCompare::lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool metaCompare::operator()(std::string_view a, std::string_view b) const
{
    return std::ranges::lexicographical_compare(
        a, b, {}, [](char c) { return static_cast<unsigned char>(lower(c)); },
        [](char c) { return static_cast<unsigned char>(lower(c)); });
}

bool metaCompare::Equal(std::string_view a, std::string_view b)
{
    return std::ranges::equal(a, b, {}, lower, lower);
}

bool metaCompare::Begins(std::string_view text, std::string_view prefix)
{
    return text.size() >= prefix.size() && Equal(text.substr(0, prefix.size()), prefix);
}

void metaMap::add(std::string_view name, std::string_view value)
{
    findOrAdd(name).emplace_back(value);
}

void metaMap::set(std::string_view name, std::string_view value)
{
    Values& values = findOrAdd(name);
    values.clear();
    values.emplace_back(value);
}

metaMap::Values& metaMap::findOrAdd(std::string_view name)
{
    const auto found = m_fields.find(name);
    return found != m_fields.end() ? found->second : m_fields[std::string(name)];
}

const metaMap::Values* metaMap::find(std::string_view name) const
{
    const auto found = m_fields.find(name);
    return found == m_fields.end() ? nullptr : &found->second;
}

bool metaMap::removeField(std::string_view name)
{
    const auto found = m_fields.find(name);
    if (found == m_fields.end())
        return false;
    m_fields.erase(found);
    return true;
}

bool metaMap::haveReplayGain() const
{
    return std::ranges::any_of(kReplayGainFields,
                               [this](std::string_view name) { return haveField(name); });
}

std::string JoinValues(const metaMap::Values& values, std::string_view separator)
{
    std::string joined;
    for (size_t i = 0; i < values.size(); ++i) {
        if (i != 0)
            joined += separator;
        joined += values[i];
    }
    return joined;
}

metaMap::Values SplitValues(std::string_view text, char separator)
{
    metaMap::Values values;
    for (size_t end; (end = text.find(separator)) != std::string_view::npos;) {
        values.emplace_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    values.emplace_back(text);
    return values;
}

} // namespace id3parser
