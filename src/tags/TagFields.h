// Between the tag list and the names of the field map, and from a tag's bytes to the
// list.
#pragma once

#include "tags/NTag.h"
#include "tags/id3parser/fields/MetaMap.h"
#include "tags/id3parser/frames/Tag.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// The item that tells the version of the tag a list was read from.
inline constexpr wchar_t kTagVersionName[] = L"TagVersion";

// What stands between several values of an item.
inline constexpr char kItemValueSeparator = '\r';

// The size in bytes of the tag whose first 10 bytes these are, with header and
// footer; 0 when it is none.
int64_t TagSizeFromHeader(std::span<const uint8_t> bytes);

// Replaces the list with what the tag at the front of the stream says: its version,
// fields and pictures. What stands behind the tag does not matter. False, with an
// empty list, when there is no tag or it is damaged.
[[nodiscard]] bool ReadTagList(id3parser::streamIn& in, NTag& list);
[[nodiscard]] bool ReadTagList(std::span<const uint8_t> bytes, NTag& list);

// Appends version, fields and pictures of a tag. Takes the frames' memory with it.
void AppendTagToList(id3parser::t_tag& tag, NTag& list);

// The value of an item that holds a field.
XStr ItemValue(const id3parser::metaMap::Values& values);

// What a text is after a journey through the tag blob, which cuts characters to 16
// bits and ends at the first zero.
XStr AsInBlob(std::wstring_view text);

// Names of items that stand for another field.
XStr PreTranslateField(const XStr& name);
// Whether the values of a field are separated in an item.
bool isMultiValField(const XStr& name);
