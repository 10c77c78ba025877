// SPDX-License-Identifier: MIT

// The order in which an edit of an AIFF file is written in place.
#pragma once

#include "aiff/AIFFHandler.h"
#include "support/file/FileEdit.h"
#include "support/file/InPlaceWriter.h"

#include <optional>

namespace aiff
{

// Works out how an edit can be made in place, so that the form is well-formed at every step
// and shows the old chunks or the new ones. Null when it cannot: the file is not what its
// headers say, sound or more than a little else would move, or a header lies across a sector
// border. Positions are called
//
//   T  where the first chunk starts that the edit adds, changes or removes
//   F  end of the old form, which is that of the file
//   N  end of the new one
//   R  where a copy W of the new chunks from T on lies meanwhile, behind a filler
//
// edit        is carried out with what is returned, which refers to it; bytes that are to be
//             written again are read into it
// aiff        the chunks of the edit
// durability  without barriers fewer steps may be needed
std::optional<InPlaceChange> PlanInPlace(FileEdit& edit, const clAIFFHandler& aiff,
                                         Durability durability);

} // namespace aiff
