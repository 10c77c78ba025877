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

using id3parser::metaMap;
using id3parser::RawTag;
using id3parser::t_frame;
using id3parser::conv::TextToUtf8;
using id3parser::conv::Utf8ToText;

namespace
{

// Room set aside for padding (bytes), so that most tags are padded where they are.
constexpr size_t kUsualPadding = 4096;

std::vector<RawTag> WalkTags(std::span<const std::span<const uint8_t>> oldTags)
{
    std::vector<RawTag> tags;
    for (const std::span<const uint8_t> bytes : oldTags)
        tags.push_back(id3parser::WalkRawFrames(bytes));
    return tags;
}

// A tag keeps its revision when it can be read and written.
id3parser::t_tagRevision RevisionFor(const TagOptions& options, const std::vector<RawTag>& tags)
{
    if (tags.empty() || !tags.back().parses)
        return options.NewRevision();
    const id3parser::t_tagRevision revision = tags.back().revision;
    return revision == id3parser::kRevision4 ? revision : id3parser::kRevision3;
}

// The first byte of a character above U+FFFF.
bool IsBeyond16Bits(char utf8)
{
    return static_cast<uint8_t>(utf8) >= 0xF0;
}

id3parser::CarriedFrames Merge(const TagOptions& options, std::vector<RawTag> tags)
{
    id3parser::CarriedFrames frames(RevisionFor(options, tags));
    for (RawTag& tag : tags)
        frames.Merge(std::move(tag));
    return frames;
}

} // namespace

TagUpdate::TagUpdate(const TagOptions& options, std::span<const std::span<const uint8_t>> oldTags)
    : m_options(options), m_frames(Merge(options, WalkTags(oldTags))), m_fields(m_frames.Fields())
{
    for (const auto& [field, values] : m_fields) {
        if (std::ranges::none_of(field, IsBeyond16Bits))
            continue;
        const XStr name = Utf8ToText(field);
        if (const XStr cut = NTag::AsInBlob(name); cut != name)
            m_cutNames.emplace(TextToUtf8(cut), field);
    }
}

void TagUpdate::Apply(const NTag& list, bool deleteMode)
{
    std::vector<const STInternalTag*> pictures;
    for (long i = 0; i < list.Count(); ++i) {
        const STInternalTag& item = list[i];
        if (IsAlbumArt(item))
            pictures.push_back(&item);
        else if (!item.name.empty() && item.name[0] != L'_')
            ApplyField(item, deleteMode);
    }
    ApplyPictures(m_frames.Tag(), pictures, deleteMode);
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

void TagUpdate::ApplyField(const STInternalTag& item, bool deleteMode)
{
    const std::string itemName = TextToUtf8(item.name);
    const std::string& shown = ShownField(itemName);
    if (!deleteMode && RestoreUnchanged(shown, item.value))
        return;
    // Tells where the list came from and is no field, but for removing one so named.
    if (!deleteMode && EqualNoCase(item.name, kTagVersionName))
        return;
    const std::string_view name = PreTranslateField(itemName);
    const std::string field = id3parser::CanonicalField(name == itemName ? shown : name);
    const bool remove = deleteMode || item.value.empty();
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

bool TagUpdate::Build()
{
    id3parser::t_tag& tag = m_frames.Tag();
    // Also the frames of a removed field that had no value to show.
    tag.Frames().remove_if([this](const t_frame& frame) {
        return !m_removed.empty() && m_removed.contains(FieldOfFrame(frame)) &&
               !m_fields.haveField(FieldOfFrame(frame));
    });
    try {
        metaMap_to_tag(tag, std::move(m_fields), m_options.CreateArgs());
        tag.SanitizeAPICOrder();
        id3parser::streamOutBuffer out;
        out.bytes.reserve(id3parser::kTagHeaderSize + m_frames.ContentSize() + kUsualPadding);
        id3parser::WriteTagHeader(tag.Revision(), 0, out);
        m_frames.WriteContent(out);
        m_bytes = std::move(out.bytes);
        tag.Frames().clear(); // their memory is needed for what follows
        return true;
    } catch (const id3parser::writeError&) {
        return false;
    } catch (const std::overflow_error&) {
        return false;
    }
}

bool TagUpdate::Finish(uint64_t availableSize, uint64_t maxPadding, size_t alignment,
                       std::vector<uint8_t>& tag)
{
    const uint64_t padding =
        id3parser::PaddingFor(m_bytes.size(), availableSize, maxPadding, alignment);
    const uint64_t size = m_bytes.size() + padding;
    try {
        id3parser::streamOutBuffer header;
        WriteTagHeader(m_frames.Tag().Revision(), size - id3parser::kTagHeaderSize, header);
        tag = std::move(m_bytes);
        std::ranges::copy(header.bytes, tag.begin());
        tag.reserve(static_cast<size_t>(size)); // a vector that grows by itself doubles
        tag.resize(static_cast<size_t>(size));
        return true;
    } catch (const id3parser::writeError&) {
        return false;
    } catch (const std::overflow_error&) {
        return false;
    }
}
