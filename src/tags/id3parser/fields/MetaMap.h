// The field map: values by field name, between frames and the tag list. Text is
// UTF-8.
#pragma once

#include "support/text/Ascii.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace aiff::id3parser
{

// Orders names byte by byte, without regard to the case of ASCII letters.
struct metaCompare {
    using is_transparent = void;

    static constexpr char lower(char c) { return LowerAscii(c); }
    bool operator()(std::string_view a, std::string_view b) const;
};

class metaMap
{
public:
    using Values = std::vector<std::string>;
    using Fields = std::map<std::string, Values, metaCompare>;

    // Appends a value, or replaces all values by one.
    void add(std::string_view name, std::string_view value);
    void set(std::string_view name, std::string_view value);

    // The values of a field, created empty when absent. Valid until it is removed.
    Values& findOrAdd(std::string_view name);
    // Null when absent.
    const Values* find(std::string_view name) const;

    bool removeField(std::string_view name);
    bool haveField(std::string_view name) const { return find(name) != nullptr; }
    bool haveReplayGain() const;

    bool empty() const { return m_fields.empty(); }
    Fields::const_iterator begin() const { return m_fields.begin(); }
    Fields::const_iterator end() const { return m_fields.end(); }

private:
    Fields m_fields;
};

// What separates the values of a field in one text: in an item of the tag list and in a
// field that has a single string; in a string below ID3v2.4; among genres there.
inline constexpr char kItemValueSeparator = '\r';
inline constexpr char kOldValueSeparator = '/';
inline constexpr char kOldGenreSeparator = ';';

// Values with a separator between them, and the pieces between separators: at
// least one, empty ones kept.
std::string JoinValues(const metaMap::Values& values, char separator);
metaMap::Values SplitValues(std::string_view text, char separator);

} // namespace aiff::id3parser
