// SPDX-License-Identifier: MIT

// Replacing a file by a changed copy.
#pragma once

#include "support/file/EditTarget.h"

namespace aiff
{

// Writes `content` into a new file in the directory of the target and, once it is complete
// and on disk, gives it the target's name in one step, unless the target is not as it was
// noted any more (kChangedMeanwhile). Mode, owner and extended attributes are those of the
// target. When anything fails, the target is untouched and no new file is left behind.
[[nodiscard]] std::error_code ReplaceFile(const EditTarget& target, const FileContent& content);

} // namespace aiff
