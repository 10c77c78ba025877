// Carrying out an edit of an AIFF file that was worked out in memory.
#pragma once

#include "support/file/EditTarget.h"
#include "support/file/FileEdit.h"

enum class CommitResult {
    Done,
    Unchanged, // the file is as it was
    Damaged    // and what was written could not be taken back
};

// Makes the file what the edit says. Where no byte in front of the tail changes its
// place, the file is changed as it lies, in an order in which the audio can be found after every
// single write, and put back when a write fails. Otherwise a changed copy takes the
// file's place in one step.
//
// target     the file that the edit is based on
// tailStart  position of the chunk at the end of the form that the edit adds or
//            changes, or the end of the form when there is none
// When it fails, errno says why.
[[nodiscard]] CommitResult CommitEdit(FileEdit& edit, const EditTarget& target, int64_t tailStart);
