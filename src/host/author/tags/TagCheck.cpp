// SPDX-License-Identifier: MIT
#include "host/author/tags/TagCheck.h"

#include "aiff/AIFFHandler.h"
#include "host/base/Printable.h"
#include "tags/TagFields.h"
#include "tags/TagItems.h"
#include "tags/id3parser/frames/WireTag.h"

#include <algorithm>
#include <array>

namespace aiff::host
{
namespace
{

constexpr int64_t kId3v1Size = 128;
constexpr int64_t kApeFooterSize = 32;

bool HoldsText(const XFile& file, int64_t position, std::string_view text)
{
    std::array<uint8_t, 8> bytes{};
    const auto found = std::span(bytes).first(text.size());
    return file.ReadAt(position, found) == text.size() &&
           std::ranges::equal(found, text, {}, {}, [](char c) { return static_cast<uint8_t>(c); });
}

int64_t TagSizeAt(const XFile& file, int64_t position)
{
    std::array<uint8_t, kTagHeaderSize> header{};
    const size_t count = file.ReadAt(position, header);
    return TagSizeFromHeader(std::span(header).first(count));
}

// The end of the file when all bytes are zero; what cannot be read may be anything.
int64_t FirstNonZero(const XFile& file, int64_t position)
{
    std::vector<uint8_t> block(64 * 1024);
    while (const size_t count = file.ReadAt(position, block)) {
        const auto bytes = std::span(block).first(count);
        const auto found = std::ranges::find_if(bytes, [](uint8_t byte) { return byte != 0; });
        position += found - bytes.begin();
        if (found != bytes.end())
            break;
    }
    return position;
}

// Where no more than one frame keeps the decoder from reading a tag that an edit makes readable.
std::string WhyNotRead(std::span<const uint8_t> bytes)
{
    using namespace id3parser;
    const WireTag tag = ReadWireTag(bytes);
    const auto frame = std::ranges::find(tag.frames, FrameReading::Refused, &WireFrame::reading);
    if (tag.revision != kRevision4 || frame == tag.frames.end())
        return {};
    const bool isCompressed = frame->formatFlags & format4::kCompressed;
    return " because its frame " + frame->Name() +
           (isCompressed ? " is compressed" : " is damaged") +
           " (other programs may show it, and an edit keeps that frame)";
}

} // namespace

Problem ReadChunkTag(const XFile& file, int64_t position, int64_t size, const std::string& chunk,
                     std::vector<uint8_t>& tag, NTag& list)
{
    const int64_t tagSize = TagSizeAt(file, position);
    if (tagSize == 0)
        return "has no ID3v2 tag in its tag chunk " + chunk;
    if (tagSize > size)
        return "has a tag of " + Counted(tagSize, "byte") + " in a chunk of " +
               std::to_string(size) + ", " + chunk;
    tag.resize(static_cast<size_t>(tagSize));
    if (file.ReadAt(position, tag) != tag.size() || !ReadTagList(tag, list))
        return "has a tag that cannot be read" + WhyNotRead(tag) + ", in the chunk " + chunk;
    return {};
}

TrailingBytes ReadTrailingBytes(const XFile& file, int64_t position)
{
    TrailingBytes trailing;
    trailing.count = std::max<int64_t>(file.Size() - position, 0);
    const int64_t end = position + trailing.count;
    position = FirstNonZero(file, position);
    trailing.areZero = position >= end;
    if (trailing.areZero)
        return trailing;
    std::array<uint8_t, kChunkHeaderSize> header{};
    const bool isChunk = file.ReadAt(position, header) == header.size() &&
                         clAIFFHandler::CompareID(ReadCode(header.data()), kChunkID3, true);
    if (TagSizeAt(file, isChunk ? position + kChunkHeaderSize : position) != 0)
        trailing.tags.push_back("an ID3v2 tag");
    const bool hasId3v1 = trailing.count >= kId3v1Size && HoldsText(file, end - kId3v1Size, "TAG");
    const int64_t apeEnd = hasId3v1 ? end - kId3v1Size : end;
    if (HoldsText(file, position, "APETAGEX") ||
        (apeEnd - position >= kApeFooterSize &&
         HoldsText(file, apeEnd - kApeFooterSize, "APETAGEX")))
        trailing.tags.push_back("an APE tag");
    if (hasId3v1)
        trailing.tags.push_back("an ID3v1 tag");
    return trailing;
}

std::string TrailingBytes::Looks() const
{
    if (areZero)
        return "only zeros";
    std::string looks;
    for (const std::string& tag : tags)
        looks += (looks.empty() ? "" : " and ") + tag;
    return looks.empty() ? "unknown data" : looks;
}

} // namespace aiff::host
