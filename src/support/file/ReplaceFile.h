// Putting a changed copy in the place of a file.
#pragma once

#include "support/file/DiskFile.h"

// Writes `content` into a new file in the folder of `path` and, when it is complete
// and on the disk, renames it to `path` in one step. Mode, owner and extended
// attributes are those of `original`, the file that stands at `path` and that the
// caller holds the lock of. False, with errno set, when anything fails: `path` is then
// untouched and no new file is left behind.
[[nodiscard]] bool ReplaceFile(const DiskFile& original, const std::string& path,
                               const FileContent& content);
