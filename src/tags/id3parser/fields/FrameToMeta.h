// SPDX-License-Identifier: MIT

// Reading: frames to fields.
#pragma once

#include "tags/id3parser/fields/MetaMap.h"
#include "tags/id3parser/frames/Tag.h"

#include <string>

namespace aiff::id3parser
{

// Adds the fields of a frame from a tag of that revision to the map. A malformed frame
// adds what can be read of it. strict: it throws parseError instead, as does a frame
// that the revision does not know and, below 2.4, one with more strings than usual.
void frame_to_infos(const t_frame& frame, t_tagRevision revision, metaMap& map,
                    bool strict = false);

// The same for a frame that does not change what others said.
void frame_to_infos(const t_frame& frame, t_tagRevision revision, FieldSink& sink);
// Whether the frame completes or replaces what earlier frames of its field said.
bool ChangesOthers(uint32_t id);

// The same for all frames of a tag, in their order.
void tag_to_metaMap(const t_tag& tag, metaMap& map, bool strict = false);

// The field that represents a frame, whether the frame has a value for it or not;
// empty when none does.
std::string FieldOfFrame(const t_frame& frame);

} // namespace aiff::id3parser
