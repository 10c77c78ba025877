// Builds ID3v2 tags byte by byte for the tests.
#pragma once

#include "tags/NTag.h"
#include "tags/TagFields.h"
#include "tags/TagUpdate.h"
#include "tags/id3parser/Errors.h"
#include "tags/id3parser/Tag.h"

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using Bytes = std::vector<uint8_t>;
using std::operator""s;

inline Bytes B(std::string_view text)
{
    return {text.begin(), text.end()};
}

inline std::string S(std::span<const uint8_t> bytes)
{
    return {bytes.begin(), bytes.end()};
}

// The body of a text frame in ISO-8859-1, without terminator.
inline std::string Text(std::string_view text)
{
    return std::string(1, '\0').append(text);
}

// A UTF-16 string as the writer makes it: mark, units, terminator.
inline std::string Utf16(std::u16string_view text)
{
    std::string bytes = "\xFF\xFE";
    for (const char16_t unit : text)
        bytes.append({static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)});
    return bytes.append(2, '\0');
}

inline std::string SizeBytes(size_t size, int bitsPerByte, int count)
{
    std::string bytes;
    for (int i = count - 1; i >= 0; --i)
        bytes += static_cast<char>(size >> (i * bitsPerByte) & ((1u << bitsPerByte) - 1));
    return bytes;
}

inline std::string FrameBytes(int version, std::string_view id, std::string_view body,
                              std::string_view flags = std::string_view("\0\0", 2))
{
    std::string frame(id);
    if (version == 2)
        return frame.append(SizeBytes(body.size(), 8, 3)).append(body);
    return frame.append(SizeBytes(body.size(), version == 4 ? 7 : 8, 4)).append(flags).append(body);
}

class TagBuilder
{
public:
    explicit TagBuilder(int version, uint8_t flags = 0) : m_version(version), m_flags(flags) {}

    TagBuilder& Frame(std::string_view id, std::string_view body,
                      std::string_view flags = std::string_view("\0\0", 2))
    {
        return Raw(FrameBytes(m_version, id, body, flags));
    }
    TagBuilder& Raw(std::string_view bytes)
    {
        m_content.append(bytes);
        return *this;
    }
    TagBuilder& WithSize(size_t size)
    {
        m_size = size;
        return *this;
    }
    Bytes Done() const
    {
        std::string tag = "ID3";
        tag += static_cast<char>(m_version);
        tag += '\0';
        tag += static_cast<char>(m_flags);
        tag += SizeBytes(m_size == SIZE_MAX ? m_content.size() : m_size, 7, 4);
        return B(tag.append(m_content));
    }

private:
    int m_version;
    uint8_t m_flags;
    std::string m_content;
    size_t m_size = SIZE_MAX;
};

inline std::string IdText(uint32_t id)
{
    return id == 0 ? "0" : SizeBytes(id, 8, 4);
}

// A tag as text: "3: TIT2=<body> ..." or "throws" behind what survived it.
inline std::string Parsed(const Bytes& bytes, id3parser::parseCallback&& callback = {})
{
    id3parser::t_tag tag;
    std::string result;
    try {
        tag.Parse_MemBlock(bytes.data(), bytes.size(), callback);
    } catch (const id3parser::parseError&) {
        result = "throws ";
    }
    result += std::to_string(tag.Revision()) + ":";
    for (const id3parser::t_frame& frame : tag.Frames())
        result.append(" ").append(IdText(frame.id)).append("=").append(S(frame.data.view()));
    return result;
}

using Items = std::vector<std::pair<XStr, XStr>>;

inline NTag ListOf(const Items& items)
{
    NTag list;
    for (const auto& [name, value] : items)
        list.AddTag(name, value);
    return list;
}

// The items of a tag without its version; a picture's value is its data.
inline Items Read(const Bytes& tag)
{
    NTag list;
    Items items;
    if (!ReadTagList(tag, list))
        return {{L"damaged", L""}};
    for (long i = 1; i < list.Count(); ++i)
        items.emplace_back(list[i].name, list[i].data.empty()
                                             ? list[i].value
                                             : XStr(list[i].data.begin(), list[i].data.end()));
    return items;
}

struct UpdateSettings {
    bool remove = false;
    std::vector<const wchar_t*> options = {L"ID3v2EncodeUni"};
};

inline Bytes Update(const std::vector<Bytes>& oldTags, const NTag& list,
                    const UpdateSettings& settings = {})
{
    TagOptions options;
    for (const wchar_t* key : settings.options)
        options.SetOption(key);
    const std::vector<std::span<const uint8_t>> views(oldTags.begin(), oldTags.end());
    TagUpdate update(options, views);
    update.Apply(list, settings.remove);
    Bytes tag;
    if (!update.Build() || !update.Finish(0, 0, 1, tag))
        return {};
    return tag;
}

// The frames of a written tag behind its header, as bytes.
inline std::string ContentOf(const Bytes& tag)
{
    return tag.size() < 10 ? "no tag" : S(std::span(tag).subspan(10));
}
