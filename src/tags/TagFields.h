// From a tag's bytes to the tag list, and the names of items that are not those of fields.
// Fields are UTF-8, the list is wide text: each name and each value is converted once on
// its way in and once on its way out.
#pragma once

#include "tags/NTag.h"
#include "tags/id3parser/fields/MetaMap.h"
#include "tags/id3parser/frames/Tag.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace aiff
{

// The item for the version of the tag that a list was read from.
inline constexpr wchar_t kTagVersionName[] = L"TagVersion";

// The size in bytes of the tag whose first 10 bytes these are, with header and
// footer; 0 when they begin no tag.
int64_t TagSizeFromHeader(std::span<const uint8_t> bytes);

// Replaces the list with what the tag at the front of the stream says: its version,
// fields and pictures. What follows the tag does not matter. False, with an empty list,
// when there is no tag or it is damaged.
[[nodiscard]] bool ReadTagList(id3parser::streamIn& in, NTag& list);
[[nodiscard]] bool ReadTagList(std::span<const uint8_t> bytes, NTag& list);

// Appends version, fields and pictures of a tag, and takes the bodies of the pictures'
// frames for it.
void AppendTagToList(id3parser::t_tag& tag, NTag& list);

// The value of a field's item.
XStr ItemValue(const id3parser::metaMap::Values& values);

// The field that an item of that name is for.
std::string_view PreTranslateField(std::string_view name);
// Whether an item of that name separates the values of its field.
bool isMultiValField(std::string_view name);

} // namespace aiff
