// SPDX-License-Identifier: MIT

// Copying the tags of one AIFF file to another.
#pragma once

#include "host/session/FileTags.h"
#include "qvcodec.h"
#include "support/file/FlushFile.h"

#include <string>

namespace aiff::host
{

// Writes the tags of another file into an AIFF or AIFF-C file. Where that has no tag, a tag goes
// over byte for byte. Otherwise the tags become one: fields, and the types of pictures, of `tags`
// take the place of the file's own, and all other frames of both stay. False, with the reason
// in the report, when that cannot be done; the file is then as it was.
[[nodiscard]] bool CopyTags(const FileTags& tags, const std::string& path, Durability durability,
                            const STNStdReport& report);

} // namespace aiff::host
