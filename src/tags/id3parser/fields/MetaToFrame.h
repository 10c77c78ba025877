// Writing: fields to frames.
#pragma once

#include "tags/id3parser/fields/MetaMap.h"
#include "tags/id3parser/frames/Tag.h"

namespace aiff::id3parser
{

// Gives the tag the fields of the map. A tag of revision 2 or none becomes one of
// revision 3.
//
// The frames of fields come first, in a fixed order. Where a field keeps its values, its
// frames are kept untouched, and with them what the map cannot hold, such as a language
// or a play counter. Frames that no field represents follow in their old order. Throws
// writeError for an encoding that cannot be written.
void metaMap_to_tag(t_tag& tag, metaMap map, const tagCreateArgs& args);

} // namespace aiff::id3parser
