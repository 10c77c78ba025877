// SPDX-License-Identifier: MIT

// Making ID3v2 tags of content that was read from other formats.
#pragma once

#include "host/base/Problem.h"
#include "host/writers/TagContent.h"

#include <cstdint>
#include <vector>

namespace aiff::host
{

// Where arrangers, producers and players go: into the lists of people of TIPL and TMCL frames, or
// into frames of their own, beside the lists of another tag.
enum class RolesAs { PeopleFrames, UserText };

// Changes properties to what the frames of ID3v2.4 hold: other programs' names, "3" and a total of
// "12", times after a blank.
void UseId3Forms(TagLib::PropertyMap& texts);

// Makes an ID3v2.4 tag of even size, without padding but for that; empty when there is no
// content. A property that no frame is for becomes a TXXX frame.
Result<std::vector<uint8_t>> MakeId3(TagContent content, RolesAs roles = RolesAs::PeopleFrames);

} // namespace aiff::host
