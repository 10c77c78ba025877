// SPDX-License-Identifier: MIT
#include "host/author/tags/UpdateTag.h"

#include "tags/TagUpdate.h"

namespace aiff::host
{

bool UpdateTag(std::span<const uint8_t> old, const NTag& list, std::vector<uint8_t>& tag)
{
    // Only version 2.4 keeps several values of a field apart and knows full dates.
    TagOptions options;
    options.SetOption(ID3v2Option::kWriteV24);
    options.SetOption(ID3v2Option::kEncodeUTF8);
    options.SetOption(ID3v2Option::kFullDateInYear);
    std::vector<std::span<const uint8_t>> tags;
    if (!old.empty())
        tags.push_back(old);
    return TagUpdate(options, tags, list, TagUpdate::Task::Set).Write(0, 0, 2, tag);
}

} // namespace aiff::host
