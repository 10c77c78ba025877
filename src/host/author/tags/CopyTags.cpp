// SPDX-License-Identifier: MIT
#include "host/author/tags/CopyTags.h"

#include "decode/TagWriter.h"
#include "host/author/tags/ReadId3.h"
#include "host/author/tags/TagDifferences.h"
#include "support/text/XStr.h"
#include "tags/TagItems.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

// Texts, and pictures of a type, that are there already have precedence.
void AddContent(const FileTags& tags, TagContent& all)
{
    for (const std::vector<uint8_t>& bytes : tags.id3v2) {
        const TagContent content = ReadId3(bytes);
        for (const auto& [property, values] : content.texts)
            if (!all.texts.contains(property) && content.joined.contains(property))
                all.joined.insert(property);
        all.AddMissing(content.texts);
        std::vector<TagPicture> pictures = content.pictures;
        std::erase_if(pictures, [&all](const TagPicture& picture) {
            return std::ranges::find(all.pictures, picture.type, &TagPicture::type) !=
                   all.pictures.end();
        });
        std::ranges::move(pictures, std::back_inserter(all.pictures));
        all.leftOut.insert(content.leftOut.begin(), content.leftOut.end());
    }
}

} // namespace

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

std::vector<std::string> CopyDifferences(const FileTags& from, const FileTags& before,
                                         const FileTags& after)
{
    TagContent wanted;
    AddContent(from, wanted);
    AddContent(before, wanted);
    TagContent made;
    AddContent(after, made);
    return TagDifferences(wanted, made);
}

} // namespace aiff::host
