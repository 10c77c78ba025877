// Carrying out an edit of an AIFF file that was worked out in memory.
#pragma once

#include "support/file/EditTarget.h"
#include "support/file/FileEdit.h"

namespace aiff
{

struct CommitResult {
    enum class File {
        Changed,
        AsBefore,
        Damaged // what was written could not be undone
    };
    File file = File::Changed;
    std::error_code error; // why the edit was not carried out; none for Changed
};

// Makes the file what the edit says. When no byte before the tail moves, the file is
// changed in place: in an order in which the audio can be found after every single write,
// and undone when a write fails. Otherwise a changed copy replaces the file in one step.
//
// target     the file that the edit is based on
// tailStart  position of the chunk at the end of the form that the edit adds or
//            changes, or the end of the form when there is none
[[nodiscard]] CommitResult CommitEdit(FileEdit& edit, const EditTarget& target, int64_t tailStart);

} // namespace aiff
