// SPDX-License-Identifier: MIT
#include "host/author/edits/EditTags.h"

#include "decode/TagWriter.h"
#include "host/author/tags/CopyTags.h"
#include "host/author/tags/FrameBody.h"
#include "support/text/XStr.h"
#include "tags/TagUpdate.h"
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FrameId.h"
#include "tags/id3parser/frames/Serialize.h"
#include "tags/id3parser/frames/WireTag.h"
#include "tags/id3parser/text/CodePages.h"

#include <algorithm>
#include <set>
#include <stdexcept>

namespace aiff::host
{
namespace
{

using id3parser::t_frame;
using id3parser::t_tagRevision;
using id3parser::WireFrame;
using id3parser::conv::Utf8ToText;

// A tag without frames: merged with others, it makes them one of ID3v2.4.
constexpr uint8_t kEmptyV24[] = {'I', 'D', '3', 4, 0, 0, 0, 0, 0, 0};

// The list of people, whose frame has another name in ID3v2.4.
constexpr uint32_t kPeople_v3 = id3parser::FrameId("IPLS");
constexpr uint32_t kPeople_v4 = id3parser::FrameId("TIPL");

constexpr size_t kRevisionAt = 3; // in the header of a tag

using OldTags = std::vector<std::span<const uint8_t>>;

NTag ListOf(const std::vector<TagItem>& items)
{
    NTag list;
    for (const TagItem& item : items) {
        if (item.IsPicture())
            list.AddTag(Utf8ToText(item.name), item.data.data(), item.data.size());
        else
            list.AddTag(Utf8ToText(item.name), Utf8ToText(item.value));
    }
    return list;
}

// The tag with the fields of the list set.
bool SetFields(OldTags old, const TagEdit& edit, std::vector<uint8_t>& tag, std::string& leftOut)
{
    TagOptions options;
    options.SetOption(ID3v2Option::kEncodeUni);
    options.SetOption(ID3v2Option::kStrictYearDate);
    if (edit.revision == id3parser::kRevision4)
        old.insert(old.begin(), kEmptyV24);
    const NTag list = ListOf(edit.items);
    const TagUpdate update(options, old, list, TagTask::Set);
    leftOut = update.LeftOut();
    return update.Write(0, 0, 1, tag);
}

std::string KeyOf(const WireFrame& wire)
{
    const std::optional<TagLib::ByteVector> body = FrameBody(wire);
    return FrameKey(FrameName(wire), body ? BytesOf(*body) : std::span<const uint8_t>());
}

uint32_t IdOf(const std::string& name)
{
    uint32_t id = 0;
    for (const char c : name)
        id = id << 8 | static_cast<uint8_t>(c);
    return id;
}

// Writes the frames of a tag but for those whose keys the new frames have, and these.
void ReplaceFrames(std::span<const uint8_t> tag, const TagEdit& edit, const TagRoom& room,
                   std::vector<uint8_t>& bytes)
{
    id3parser::WireTag wire = id3parser::ReadWireTag(tag);
    std::set<std::string> keys;
    for (const NewFrame& frame : edit.frames)
        keys.insert(FrameKey(frame.name, frame.body));
    if (!keys.empty())
        std::erase_if(wire.frames,
                      [&keys](const WireFrame& frame) { return keys.contains(KeyOf(frame)); });
    const t_tagRevision revision{tag[kRevisionAt]};
    const bool renamesPeople =
        revision == id3parser::kRevision4 &&
        std::ranges::find(wire.frames, kPeople_v4, &WireFrame::id) == wire.frames.end();
    for (WireFrame& frame : wire.frames)
        if (renamesPeople && frame.id == kPeople_v3)
            frame.id = kPeople_v4;
    id3parser::streamOutBuffer out;
    const auto emit = [&](const id3parser::FrameSink& sink) {
        for (const WireFrame& frame : wire.frames)
            sink(frame.AsItIs());
        for (const NewFrame& frame : edit.frames) {
            if (frame.body.size() >= id3parser::kFrameSizeLimit) // readers would give the tag up
                throw id3parser::writeError();
            if (!frame.body.empty())
                sink({IdOf(frame.name), 0, 0, true, {}, frame.body});
        }
    };
    WriteTag(revision, emit, out, room.available, room.maxPadding, room.alignment);
    bytes = std::move(out.bytes);
}

bool MakeTag(const TagEdit& edit, const OldTags& old, const TagRoom& room,
             std::vector<uint8_t>& tag, std::string& leftOut)
try {
    std::vector<uint8_t> changed;
    if (!SetFields(old, edit, changed, leftOut) || changed.size() <= kRevisionAt)
        return false;
    // A damaged tag, which nobody has read, may have another revision.
    if (changed[kRevisionAt] != edit.revision && !edit.frames.empty())
        return false;
    ReplaceFrames(changed, edit, room, tag);
    return true;
} catch (const id3parser::writeError&) {
    return false;
} catch (const std::overflow_error&) {
    return false;
}

} // namespace

int RevisionAfterEdit(const FileTags& tags, bool wantsV24)
{
    const bool isV24 = std::ranges::any_of(tags.id3v2, [](const std::vector<uint8_t>& tag) {
        return tag.size() > kRevisionAt && tag[kRevisionAt] == id3parser::kRevision4;
    });
    return wantsV24 || isV24 ? id3parser::kRevision4 : id3parser::kRevision3;
}

bool EditTags(const TagEdit& edit, const std::string& path, Durability durability,
              const STNStdReport& report)
{
    TagWriter writer(report, durability);
    writer.SetMaker([&edit](std::span<const std::span<const uint8_t>> old, const TagRoom& room,
                            std::vector<uint8_t>& tag, std::string& leftOut) {
        return MakeTag(edit, {old.begin(), old.end()}, room, tag, leftOut);
    });
    return writer.Run(FromPathBytes(path).c_str(), NTag(), TagWriter::Task::Write);
}

std::vector<std::string> ConversionDifferences(const FileTags& tags)
{
    TagEdit edit;
    edit.revision = id3parser::kRevision4;
    FileTags converted;
    std::string leftOut; // the edit reports it
    if (!MakeTag(edit, {tags.id3v2.begin(), tags.id3v2.end()}, {}, converted.id3v2.emplace_back(),
                 leftOut))
        return {}; // nor will the edit be made
    return CopyDifferences(tags, {}, converted);
}

NewFrame MakeTextFrame(const std::string& name, const std::vector<std::string>& texts, int revision)
{
    id3parser::tagCreateContext context;
    context.revision = t_tagRevision{revision};
    context.encoding = id3parser::kEncodingUTF16;
    t_frame frame(IdOf(name));
    for (size_t i = 0; i < texts.size(); ++i)
        i == 0 ? frame.SetAsString(texts[i], context) : frame.AddString(texts[i]);
    const auto body = frame.data.view();
    return {name, {body.begin(), body.end()}};
}

} // namespace aiff::host
