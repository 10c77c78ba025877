// Writing: fields to frames.
#pragma once

#include "tags/id3parser/fields/MetaMap.h"
#include "tags/id3parser/frames/Tag.h"

namespace id3parser
{

// Makes the tag say what the map says. A tag of revision 2 or none becomes one of
// revision 3.
//
// New frames stand in a fixed order. Frames of a field whose values are the ones
// they already had stay untouched in its place: what the map cannot carry, such as a
// language or a play counter, stays with them. Frames that no field represents
// follow in their old order. Throws writeError for an encoding that cannot be
// written.
void metaMap_to_tag(t_tag& tag, metaMap map, const tagCreateArgs& args);

} // namespace id3parser
