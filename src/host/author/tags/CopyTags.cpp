// SPDX-License-Identifier: MIT
#include "host/author/tags/CopyTags.h"

#include "decode/TagWriter.h"
#include "support/text/XStr.h"
#include "tags/TagItems.h"

namespace aiff::host
{

bool CopyTags(const FileTags& tags, const std::string& path, Durability durability,
              const STNStdReport& report)
{
    TagWriter writer(report, durability);
    NTag all;
    for (const std::vector<uint8_t>& tag : tags.id3v2) {
        writer.AddForeignTag(tag);
        NTag list;
        if (!ReadTagList(tag, list))
            return false;
        all.MergeFrom(std::move(list), false);
    }
    return writer.Run(FromPathBytes(path).c_str(), std::move(all), TagWriter::Task::Write);
}

} // namespace aiff::host
