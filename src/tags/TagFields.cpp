#include "tags/TagFields.h"

#include "support/text/Ascii.h"
#include "tags/TagPictures.h"
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/fields/FrameToMeta.h"
#include "tags/id3parser/frames/FrameReader.h"
#include "tags/id3parser/text/CodePages.h"

#include <algorithm>
#include <stdexcept>

namespace aiff
{

using id3parser::metaMap;
using id3parser::t_tag;

int64_t TagSizeFromHeader(std::span<const uint8_t> bytes)
{
    id3parser::streamInMem in(bytes);
    try {
        const id3parser::TagHeader header = id3parser::ReadTagHeader(in);
        if (header.flags & id3parser::tagFlags::kUnknown_v4)
            return 0;
        const size_t ends = header.flags & id3parser::tagFlags::kFooter ? 2 : 1;
        return static_cast<int64_t>(header.size + ends * id3parser::kTagHeaderSize);
    } catch (const id3parser::parseError&) {
        return 0;
    }
}

bool ReadTagList(std::span<const uint8_t> bytes, NTag& list)
{
    id3parser::streamInMem in(bytes);
    return ReadTagList(in, list);
}

bool ReadTagList(id3parser::streamIn& in, NTag& list)
{
    list.Destroy();
    t_tag tag;
    try {
        id3parser::parseCallback everything;
        tag.Parse(in, everything);
    } catch (const id3parser::parseError&) {
        return false;
    } catch (const std::overflow_error&) {
        return false;
    }
    AppendTagToList(tag, list);
    return true;
}

void AppendTagToList(t_tag& tag, NTag& list)
{
    list.AddTag(kTagVersionName, L"ID3v2." + std::to_wstring(tag.Revision()));
    metaMap map;
    tag_to_metaMap(tag, map);
    for (const auto& [field, values] : map)
        if (field.empty() || field[0] != '_')
            list.AddTag({id3parser::conv::Utf8ToText(field), ItemValue(values), {}});
    AppendPicturesToList(tag, list);
}

XStr ItemValue(const metaMap::Values& values)
{
    return id3parser::conv::Utf8ToText(
        id3parser::JoinValues(values, id3parser::kItemValueSeparator));
}

std::string_view PreTranslateField(std::string_view name)
{
    if (EqualNoCase(name, "content group description"))
        return "style";
    if (EqualNoCase(name, "ITUNNORM"))
        return "COMMENT ITUNNORM";
    return name;
}

bool isMultiValField(std::string_view name)
{
    constexpr std::string_view kSingle[] = {"LYRICS", "UNSYNCED LYRICS", "COMMENT"};
    return std::ranges::none_of(kSingle,
                                [=](std::string_view single) { return EqualNoCase(name, single); });
}

} // namespace aiff
