// Replacing a file by a changed copy.
#pragma once

#include "support/file/DiskFile.h"

namespace aiff
{

// Writes `content` into a new file in the directory of `path` and, once it is complete
// and on disk, renames it to `path` in one step. Mode, owner and extended attributes are
// copied from `original`, the file at `path`, whose lock the caller holds. When anything
// fails, `path` is untouched and no new file is left behind.
[[nodiscard]] std::error_code ReplaceFile(const DiskFile& original, const std::string& path,
                                          const FileContent& content);

} // namespace aiff
