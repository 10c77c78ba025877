// SPDX-License-Identifier: MIT

// Copying the tags of one AIFF file to another.
#pragma once

#include "host/session/FileTags.h"
#include "qvcodec.h"
#include "support/file/FlushFile.h"

#include <string>
#include <vector>

namespace aiff::host
{

// Writes the tags of another file into an AIFF or AIFF-C file. Where that has no tag, a tag goes
// over byte for byte. Otherwise the tags become one: fields, and the types of pictures, of `tags`
// take the place of the file's own, and all other frames of both stay. False, with the reason
// in the report, when that cannot be done; the file is then as it was.
[[nodiscard]] bool CopyTags(const FileTags& tags, const std::string& path, Durability durability,
                            const STNStdReport& report);

// Sentences for people about what of the tags in one file, and of those that were in the other,
// does not read back from the other after the copy.
std::vector<std::string> CopyDifferences(const FileTags& from, const FileTags& before,
                                         const FileTags& after);

} // namespace aiff::host
