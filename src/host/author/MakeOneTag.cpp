#include "host/author/MakeOneTag.h"

#include "tags/TagUpdate.h"

namespace aiff::host
{

bool MakeOneTag(std::span<const std::span<const uint8_t>> tags, const NTag& list,
                std::vector<uint8_t>& tag)
{
    // Only version 2.4 keeps several values of a field apart and knows full dates.
    TagOptions options;
    options.SetOption(ID3v2Option::kWriteV24);
    options.SetOption(ID3v2Option::kEncodeUTF8);
    options.SetOption(ID3v2Option::kFullDateInYear);
    return TagUpdate(options, tags, list, TagUpdate::Task::Set).Write(0, 0, 2, tag);
}

} // namespace aiff::host
