// SPDX-License-Identifier: MIT

// The field map: values by field name, between frames and the tag list. Text is
// UTF-8.
#pragma once

#include "support/text/Ascii.h"

#include <cstddef>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>

namespace aiff::id3parser
{

// Orders names byte by byte, without regard to the case of ASCII letters.
struct metaCompare {
    using is_transparent = void;

    static constexpr char lower(char c) { return LowerAscii(c); }
    bool operator()(std::string_view a, std::string_view b) const;
};

// Values in their order, each followed by a zero: a tag may consist of nothing but empty ones.
// Every value ends at its first zero.
class Values
{
public:
    class const_iterator
    {
    public:
        using value_type = std::string_view;
        using difference_type = std::ptrdiff_t;

        const_iterator() = default;
        explicit const_iterator(const char* at) : m_at(at) {}
        std::string_view operator*() const { return m_at; }
        const_iterator& operator++()
        {
            m_at += (**this).size() + 1;
            return *this;
        }
        const_iterator operator++(int)
        {
            const const_iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const const_iterator&) const = default;

    private:
        const char* m_at = nullptr;
    };

    Values() = default;
    Values(std::initializer_list<std::string_view> values)
    {
        for (const std::string_view value : values)
            push_back(value);
    }

    void push_back(std::string_view value)
    {
        value = value.substr(0, value.find('\0'));
        const size_t end = m_text.size();
        m_text.resize(end + value.size() + 1);
        value.copy(&m_text[end], value.size());
    }
    bool empty() const { return m_text.empty(); }
    std::string_view front() const { return *begin(); }
    const_iterator begin() const { return const_iterator(m_text.data()); }
    const_iterator end() const { return const_iterator(m_text.data() + m_text.size()); }
    bool operator==(const Values&) const = default;

private:
    std::string m_text;
};

// Takes what frames say, value by value.
class FieldSink
{
public:
    virtual ~FieldSink() = default;
    virtual void add(std::string_view field, std::string_view value) = 0;
};

class metaMap : public FieldSink
{
public:
    using Values = id3parser::Values;
    using Fields = std::map<std::string, Values, metaCompare>;

    // Appends a value, or replaces all values by one.
    void add(std::string_view name, std::string_view value) override;
    void set(std::string_view name, std::string_view value);

    // The values of a field, created empty when absent. Valid until it is removed.
    Values& findOrAdd(std::string_view name);
    // Null when absent.
    const Values* find(std::string_view name) const;

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

// Calls `take` with each piece between separators: at least one, empty ones too.
template <class Take>
void ForEachPiece(std::string_view text, char separator, Take take)
{
    for (size_t end; (end = text.find(separator)) != std::string_view::npos;) {
        take(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    take(text);
}

// Values with a separator between them, and the pieces between separators.
std::string JoinValues(const Values& values, char separator);
Values SplitValues(std::string_view text, char separator);

} // namespace aiff::id3parser
