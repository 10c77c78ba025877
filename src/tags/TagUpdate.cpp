#include "tags/TagUpdate.h"

#include "support/text/Ascii.h"
#include "tags/TagFields.h"
#include "tags/TagPictures.h"
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/fields/FieldNames.h"
#include "tags/id3parser/fields/FrameToMeta.h"
#include "tags/id3parser/fields/MetaToFrame.h"
#include "tags/id3parser/frames/FrameReader.h"
#include "tags/id3parser/frames/Serialize.h"
#include "tags/id3parser/text/CodePages.h"

#include <algorithm>
#include <stdexcept>

namespace aiff
{

using id3parser::metaMap;
using id3parser::OldTag;
using id3parser::t_frame;
using id3parser::conv::TextToUtf8;
using id3parser::conv::Utf8ToText;

namespace
{

std::vector<OldTag> ReadTags(std::span<const std::span<const uint8_t>> oldTags)
{
    std::vector<OldTag> tags;
    for (const std::span<const uint8_t> bytes : oldTags)
        tags.push_back(id3parser::ReadOldTag(bytes));
    return tags;
}

// A tag keeps its revision when it can be read and written. Of several, ID3v2.4 holds what the
// others do.
id3parser::t_tagRevision RevisionFor(const TagOptions& options, const std::vector<OldTag>& tags)
{
    const auto readsAs = [](id3parser::t_tagRevision revision) {
        return [revision](const OldTag& tag) { return tag.parses && tag.revision == revision; };
    };
    if (std::ranges::any_of(tags, readsAs(id3parser::kRevision4)))
        return id3parser::kRevision4;
    const bool readable = !tags.empty() && tags.back().parses;
    return readable ? id3parser::kRevision3 : options.NewRevision();
}

// The first byte of a character above U+FFFF.
bool IsBeyond16Bits(char utf8)
{
    return static_cast<uint8_t>(utf8) >= 0xF0;
}

id3parser::CarriedFrames Merge(const TagOptions& options, std::vector<OldTag> tags)
{
    id3parser::CarriedFrames frames(RevisionFor(options, tags));
    for (OldTag& tag : tags)
        frames.Merge(std::move(tag));
    return frames;
}

} // namespace

TagUpdate::TagUpdate(const TagOptions& options, std::span<const std::span<const uint8_t>> oldTags)
    : m_options(options), m_frames(Merge(options, ReadTags(oldTags))), m_fields(m_frames.Fields())
{
    for (const auto& [field, values] : m_fields) {
        if (std::ranges::none_of(field, IsBeyond16Bits))
            continue;
        const XStr name = Utf8ToText(field);
        if (const XStr cut = NTag::AsInBlob(name); cut != name)
            m_cutNames.emplace(TextToUtf8(cut), field);
    }
}

void TagUpdate::Apply(const NTag& list, Task task)
{
    std::vector<const STInternalTag*> pictures;
    for (long i = 0; i < list.Count(); ++i) {
        const STInternalTag& item = list[i];
        if (IsAlbumArt(item))
            pictures.push_back(&item);
        else if (!item.name.empty() && item.name[0] != L'_')
            ApplyField(item, task);
    }
    ApplyPictures(m_frames.Tag(), pictures, task == Task::Remove);
}

// The field of the old tag that reading shows under this name.
const std::string& TagUpdate::ShownField(const std::string& name) const
{
    if (m_cutNames.empty() || m_frames.Fields().haveField(name))
        return name;
    const auto cut = m_cutNames.find(name);
    return cut == m_cutNames.end() ? name : cut->second;
}

bool TagUpdate::RestoreUnchanged(const std::string& field, const XStr& value)
{
    const metaMap::Values* before = m_frames.Fields().find(field);
    if (before == nullptr)
        return false;
    const XStr shown = ItemValue(*before);
    if (value != shown && value != NTag::AsInBlob(shown))
        return false;
    m_fields.findOrAdd(field) = *before;
    return true;
}

void TagUpdate::ApplyField(const STInternalTag& item, Task task)
{
    const std::string itemName = TextToUtf8(item.name);
    const std::string& shown = ShownField(itemName);
    if (task == Task::Set && RestoreUnchanged(shown, item.value))
        return;
    // This item says where the list came from. It is a field only when one of that name is
    // removed.
    if (task == Task::Set && EqualNoCase(item.name, kTagVersionName))
        return;
    const std::string_view name = PreTranslateField(itemName);
    const std::string field = id3parser::CanonicalField(name == itemName ? shown : name);
    const bool remove = task == Task::Remove || item.value.empty();
    if (remove || !EqualNoCase(shown, field))
        RemoveField(shown);
    if (remove)
        RemoveField(field);
    else
        SetField(field, name, item.value);
}

void TagUpdate::SetField(const std::string& field, std::string_view name, const XStr& value)
{
    const bool yearOnly =
        EqualNoCase(name, "year") && !m_options.fullDateInYear && !m_options.strictYearDate;
    const std::string text = yearOnly ? std::to_string(LeadingInteger(value)) : TextToUtf8(value);
    metaMap::Values& values = m_fields.findOrAdd(field);
    if (isMultiValField(name))
        values = id3parser::SplitValues(text, id3parser::kItemValueSeparator);
    else
        values = {text};
}

void TagUpdate::RemoveField(const std::string& field)
{
    m_fields.removeField(field);
    m_removed.insert(field);
}

void TagUpdate::BuildFrames()
{
    id3parser::t_tag& tag = m_frames.Tag();
    // Also the frames of a removed field that had no value to show.
    tag.Frames().remove_if([this](const t_frame& frame) {
        return !m_removed.empty() && m_removed.contains(FieldOfFrame(frame)) &&
               !m_fields.haveField(FieldOfFrame(frame));
    });
    metaMap_to_tag(tag, std::move(m_fields), m_options.CreateArgs());
    tag.SanitizeAPICOrder();
    for (t_frame& frame : tag.Frames())
        if (frame.wire != nullptr)
            frame.data.take(); // its memory is needed for the new tag
}

bool TagUpdate::Write(uint64_t availableSize, uint64_t maxPadding, size_t alignment,
                      std::vector<uint8_t>& bytes)
{
    const id3parser::t_tag& tag = m_frames.Tag();
    try {
        BuildFrames();
        // Readers give the whole tag up at a frame that is too large.
        const bool readable = std::ranges::all_of(tag.Frames(), [&](const t_frame& frame) {
            return FrameSize(frame, tag.Revision()) <
                   id3parser::kFrameHeaderSize + id3parser::kFrameSizeLimit;
        });
        id3parser::streamOutBuffer out;
        if (readable)
            tag.Write(out, availableSize, maxPadding, alignment);
        bytes = std::move(out.bytes);
        return readable;
    } catch (const id3parser::writeError&) {
        return false;
    } catch (const std::overflow_error&) {
        return false;
    }
}

} // namespace aiff
