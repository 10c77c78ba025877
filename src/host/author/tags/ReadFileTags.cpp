// SPDX-License-Identifier: MIT
#include "host/author/tags/ReadFileTags.h"

#include "aiff/AIFFHandler.h"
#include "host/author/tags/AiffForm.h"
#include "host/author/tags/FrameBody.h"
#include "host/author/tags/KnownFields.h"
#include "host/author/tags/TagCheck.h"
#include "host/base/Printable.h"
#include "support/file/DiskFile.h"
#include "support/text/XStr.h"
#include "tags/NTag.h"
#include "tags/id3parser/frames/FrameRules.h"
#include "tags/id3parser/frames/WireTag.h"

#include <set>

namespace aiff::host
{
namespace
{

// Up to its first zero, which is as much as a tag blob holds.
std::string Utf8(const XStr& text)
{
    return ToUtf8(text.c_str());
}

// Adds the texts after the first of frames that decoders show the first one of.
void AddFurtherTexts(std::span<const uint8_t> tag, NTag& list)
{
    std::set<const id3parser::FrameRule*> seen; // the first frame of a kind counts
    const id3parser::WireTag wireTag = id3parser::ReadWireTag(tag);
    for (const id3parser::WireFrame& wire : wireTag.frames) {
        const id3parser::FrameRule* const rule = id3parser::RuleForFrame(wire.id);
        if (rule == nullptr || rule->read != id3parser::ReadRule::Single ||
            wire.revision != id3parser::kRevision4 || !seen.insert(rule).second)
            continue;
        const std::vector<std::string> texts = TextsOf(wire);
        long at = 0;
        while (at < list.Count() && list[at].name != FromUtf8(std::string(rule->field)))
            ++at;
        if (texts.size() < 2 || at == list.Count() || Utf8(list[at].value) != texts.front())
            continue;
        for (const std::string& text : std::span(texts).subspan(1))
            list[at].value += L'\r' + FromUtf8(text);
    }
}

// Adds the fields of frames that decoders do not show, before the pictures.
void AddFurtherFields(FileTags& tags)
{
    std::set<std::string> seen; // the first frame of a kind counts
    for (const std::vector<uint8_t>& bytes : tags.id3v2) {
        const id3parser::WireTag tag = id3parser::ReadWireTag(bytes);
        for (const id3parser::WireFrame& wire : tag.frames) {
            const std::string name = FieldOfFrame(FrameName(wire));
            const bool isFirst = !name.empty() && seen.insert(name).second;
            const std::vector<std::string> texts =
                isFirst ? TextsOf(wire) : std::vector<std::string>();
            if (!texts.empty() && FindItem(tags.items, name) == nullptr)
                tags.items.insert(std::ranges::find_if(tags.items, &TagItem::IsPicture),
                                  {name, JoinedItem(texts), {}});
        }
    }
}

// Items of one name are shown once, as decoders do.
void ReadItems(const clAIFFHandler& aiff, FileTags& tags)
{
    NTag all;
    for (int i = 0; i < aiff.Count(); ++i) {
        const STRIFFChunk& chunk = *aiff.GetChunk(i);
        if (!clAIFFHandler::CompareID(chunk.ID, kChunkID3, true) || chunk.nSize == 0)
            continue;
        ++tags.chunks;
        NTag list;
        std::vector<uint8_t> bytes;
        const Problem problem = ReadChunkTag(aiff, chunk.FileDataPosition, chunk.nSize,
                                             ChunkName(chunk.ID, chunk.ChunkPosition), bytes, list);
        if (problem) {
            tags.hidden.push_back(problem.Text());
            continue;
        }
        AddFurtherTexts(bytes, list);
        tags.id3v2.push_back(std::move(bytes));
        for (long k = 0; k < list.Count(); ++k)
            all.AddTag(std::move(list[k]));
    }
    NTag shown;
    shown.MergeFrom(std::move(all), false);
    for (long k = 0; k < shown.Count(); ++k) {
        STInternalTag& item = shown[k];
        tags.items.push_back({Utf8(item.name), Utf8(item.value), {}});
        if (!item.data.empty())
            tags.items.back().data = tags.pictures.emplace_back(std::move(item.data));
    }
    AddFurtherFields(tags);
}

} // namespace

std::optional<FileTags> ReadFileTags(const Input& input)
{
    if (input.IsStream() || input.NeedsCopy())
        return std::nullopt;
    std::error_code error;
    clAIFFHandler aiff;
    if (!aiff.Initialize(DiskFile::Open(input.Path(), DiskFile::Access::Read, error), {}))
        return std::nullopt;
    FileTags tags;
    ReadItems(aiff, tags);
    if (!aiff.CheckComplete()) // where the form ends is not known
        return tags;
    const TrailingBytes trailing = ReadTrailingBytes(aiff, aiff.GetFormEnd());
    for (const std::string& kind : trailing.tags)
        tags.hidden.push_back("has " + kind + " after the AIFF data, which is not shown");
    // An edit keeps what are whole chunks, and refuses some files; what is left of another edit
    // is nobody's.
    if (!trailing.areZero && aiff.PrepareForEdit() && !aiff.HoldsUnfinishedEdit()) {
        const TrailingBytes cut = ReadTrailingBytes(aiff, aiff.GetFormEnd());
        if (!cut.areZero)
            tags.cutOff = Counted(cut.count, "byte") + " (" + cut.Looks() + ")";
    }
    return tags;
}

} // namespace aiff::host
