#include "tags/id3parser/fields/MetaMap.h"

#include "tags/id3parser/fields/FieldNames.h"

#include <algorithm>

namespace aiff::id3parser
{

bool metaCompare::operator()(std::string_view a, std::string_view b) const
{
    const auto folded = [](char c) { return static_cast<unsigned char>(lower(c)); };
    return std::ranges::lexicographical_compare(a, b, {}, folded, folded);
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
    const auto place = m_fields.lower_bound(name);
    if (place != m_fields.end() && !metaCompare()(name, place->first))
        return place->second;
    return m_fields.emplace_hint(place, name, Values())->second;
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

std::string JoinValues(const metaMap::Values& values, char separator)
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

} // namespace aiff::id3parser
