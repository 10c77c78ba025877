// SPDX-License-Identifier: MIT

// What the items of a tag list have to do with the fields of a tag.
#pragma once

#include "qvcodec.h"
#include "tags/NTag.h"
#include "tags/id3parser/frames/FrameReader.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace aiff
{

// The item for the version of the tag that a list was read from.
inline constexpr std::string_view kTagVersionField = QV_TAG_VERSION;

using id3parser::kTagHeaderSize;

// The size in bytes of the tag whose header these bytes begin with, with header and
// footer; 0 when they begin no tag.
int64_t TagSizeFromHeader(std::span<const uint8_t> bytes);

// The field that an item of that name is for.
std::string_view PreTranslateField(std::string_view name);
// Whether an item of that name separates the values of its field.
bool isMultiValField(std::string_view name);

} // namespace aiff
