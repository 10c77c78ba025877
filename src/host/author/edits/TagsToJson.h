// SPDX-License-Identifier: MIT

// All that a tag says, as JSON from which it can be made again.
#pragma once

#include "host/base/Json.h"
#include "host/session/FileTags.h"

namespace aiff::host
{

// Whether the bytes of pictures, and of frames that no field represents, are in it.
enum class FrameData { Counted, Included };

// An object with "tags", the items as TagsJson has them, with what else their frames say, and
// "frames", those that no item stands for.
Json TagsToJson(const FileTags& tags, FrameData data);

} // namespace aiff::host
