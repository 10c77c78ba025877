// SPDX-License-Identifier: MIT

// Carrying out an edit of an AIFF file that was worked out in memory.
#pragma once

#include "aiff/AIFFHandler.h"
#include "support/file/FileEdit.h"
#include "support/file/InPlaceWriter.h"

namespace aiff
{

// Makes the file what the edit says, at once as far as readers can see: in place where
// PlanInPlace knows how, otherwise by a changed copy that replaces the file in one step.
//
// target      the file that the edit is based on
// aiff        the chunks of the edit
// durability  of writes in place; a copy is always flushed, for it holds the sound
[[nodiscard]] EditResult CommitEdit(FileEdit& edit, EditTarget& target, const clAIFFHandler& aiff,
                                    Durability durability);

} // namespace aiff
