// SPDX-License-Identifier: MIT
#include "tags/id3parser/fields/MetaMap.h"

#include "tags/id3parser/fields/FieldNames.h"

#include <algorithm>
#include <cstring>

namespace aiff::id3parser
{

bool metaCompare::operator()(std::string_view a, std::string_view b) const
{
    constexpr size_t kWord = 8; // names that are compared often start alike
    const size_t size = std::min(a.size(), b.size());
    size_t i = 0;
    while (size - i >= kWord && std::memcmp(&a[i], &b[i], kWord) == 0)
        i += kWord;
    for (; i < size; ++i) {
        if (a[i] == b[i])
            continue;
        const auto x = static_cast<unsigned char>(lower(a[i]));
        const auto y = static_cast<unsigned char>(lower(b[i]));
        if (x != y)
            return x < y;
    }
    return a.size() < b.size();
}

void metaMap::add(std::string_view name, std::string_view value)
{
    findOrAdd(name).push_back(value);
}

void metaMap::set(std::string_view name, std::string_view value)
{
    findOrAdd(name) = {value};
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

bool metaMap::haveReplayGain() const
{
    return std::ranges::any_of(kReplayGainFields,
                               [this](std::string_view name) { return haveField(name); });
}

std::string JoinValues(const Values& values, char separator)
{
    size_t size = 0;
    for (const std::string_view value : values)
        size += value.size() + 1;
    std::string joined;
    joined.reserve(size); // a value may be as large as a tag
    for (const std::string_view value : values)
        joined.append(value).push_back(separator);
    if (!joined.empty())
        joined.pop_back();
    return joined;
}

Values SplitValues(std::string_view text, char separator)
{
    Values values;
    ForEachPiece(text, separator, [&](std::string_view piece) { values.push_back(piece); });
    return values;
}

} // namespace aiff::id3parser
