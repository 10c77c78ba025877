// SPDX-License-Identifier: MIT
#include "tags/TagUpdate.h"

#include "support/text/Ascii.h"
#include "tags/TagFields.h"
#include "tags/TagPictures.h"
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/fields/FieldNames.h"
#include "tags/id3parser/frames/Serialize.h"
#include "tags/id3parser/text/CodePages.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <utility>

namespace aiff
{

using id3parser::FieldEntry;
using id3parser::FieldIndex;
using id3parser::FrameSink;
using id3parser::OutFrame;
using id3parser::WireFrame;
using id3parser::WireTag;
using id3parser::conv::TextToUtf8;
using id3parser::conv::Utf8ToText;

namespace
{

std::vector<WireTag> ReadTags(std::span<const std::span<const uint8_t>> oldTags)
{
    std::vector<WireTag> tags;
    for (const std::span<const uint8_t> bytes : oldTags)
        tags.push_back(id3parser::ReadWireTag(bytes));
    return tags;
}

// ID3v2.4 keeps its revision whatever else is wrong with it, and holds what other tags do:
// what its frames say is often nothing that an older one can. Others keep theirs when they
// can be read and written.
id3parser::t_tagRevision RevisionFor(const TagOptions& options, const std::vector<WireTag>& tags)
{
    if (std::ranges::find(tags, id3parser::kRevision4, &WireTag::revision) != tags.end())
        return id3parser::kRevision4;
    return !tags.empty() && tags.back().parses ? id3parser::kRevision3 : options.NewRevision();
}

// The first byte of a character above U+FFFF.
bool IsBeyond16Bits(char utf8)
{
    return static_cast<uint8_t>(utf8) >= 0xF0;
}

// Compares the item of a field with a text, either as reading shows it or as it comes back
// from a tag blob, which cuts characters.
class ItemComparison : public id3parser::FieldSink
{
public:
    explicit ItemComparison(const XStr& text) : m_whole{text}, m_cut{text} {}

    void add(std::string_view, std::string_view value) override
    {
        if (std::exchange(m_isShown, true))
            Add(id3parser::kItemValueSeparator);
        id3parser::conv::ForEachCharacter(value, [this](uint32_t c) { Add(c); });
    }
    bool IsEqual() const { return m_isShown && (m_whole.IsEqual() || m_cut.IsEqual()); }

private:
    struct Text {
        bool IsEqual() const { return isEqual && rest.empty(); }
        void Take(uint32_t character)
        {
            isEqual = isEqual && !rest.empty() && static_cast<uint32_t>(rest[0]) == character;
            if (isEqual)
                rest.remove_prefix(1);
        }

        std::wstring_view rest;
        bool isEqual = true;
    };

    void Add(uint32_t character)
    {
        m_whole.Take(character);
        const uint32_t unit = character & 0xFFFF;
        m_isCutOff = m_isCutOff || unit == 0;
        if (!m_isCutOff)
            m_cut.Take(unit);
    }

    bool m_isShown = false;
    Text m_whole, m_cut;
    bool m_isCutOff = false; // a blob's text ends at a zero
};

} // namespace

TagUpdate::TagUpdate(const TagOptions& options, std::span<const std::span<const uint8_t>> oldTags,
                     const NTag& list, Task task)
    : TagUpdate(ReadTags(oldTags), options, list, task)
{
}

TagUpdate::TagUpdate(std::vector<WireTag> oldTags, const TagOptions& options, const NTag& list,
                     Task task)
    : m_options(options), m_task(task), m_isLost(std::ranges::any_of(oldTags, &WireTag::isLost)),
      m_old(RevisionFor(options, oldTags), std::move(oldTags))
{
    m_old.Fields().ForEachField([this](FieldIndex::Group group) {
        const std::string_view field = group.front().Field();
        if (std::ranges::none_of(field, IsBeyond16Bits))
            return;
        const XStr name = Utf8ToText(field);
        if (const XStr cut = NTag::AsInBlob(name); cut != name)
            m_cutNames.emplace(TextToUtf8(cut), field);
    });
    for (long i = 0; i < list.Count(); ++i) {
        const STInternalTag& item = list[i];
        if (IsAlbumArt(item))
            m_pictures.push_back(&item);
        else if (!item.name.empty() && item.name[0] != L'_')
            ApplyField(item);
    }
}

// The field of the old tag that reading shows under this name.
const std::string& TagUpdate::ShownField(const std::string& name)
{
    if (m_cutNames.empty() || !m_old.Fields().Find(name).empty())
        return name;
    const auto cut = m_cutNames.find(name);
    return cut == m_cutNames.end() ? name : cut->second;
}

bool TagUpdate::IsUnchanged(std::string_view field, const XStr& value) const
{
    const auto shows = [&](FieldIndex::Group group) {
        ItemComparison item(value);
        ShowField(m_old.Frames(), group, item);
        return item.IsEqual();
    };
    const FieldIndex::Group group = m_old.Fields().Find(field);
    if (shows(group))
        return true;
    const auto isRead = [this](const FieldEntry& entry) {
        return !m_old.Frames()[entry.frame].isHidden;
    };
    if (std::ranges::all_of(group, isRead))
        return false;
    std::vector<FieldEntry> read;
    read.reserve(static_cast<size_t>(std::ranges::count_if(group, isRead)));
    std::ranges::copy_if(group, std::back_inserter(read), isRead);
    return shows(read);
}

void TagUpdate::ApplyField(const STInternalTag& item)
{
    const std::string itemName = TextToUtf8(item.name);
    const std::string& shown = ShownField(itemName);
    if (m_task == Task::Set && IsUnchanged(shown, item.value)) {
        m_changes.erase(shown);
        return;
    }
    // This item says where the list came from. It is a field only when one of that name is
    // removed.
    if (m_task == Task::Set && EqualNoCase(itemName, kTagVersionField))
        return;
    const std::string_view name = PreTranslateField(itemName);
    const std::string field = id3parser::CanonicalField(name == itemName ? shown : name);
    const bool remove = m_task == Task::Remove || item.value.empty();
    if (remove || !EqualNoCase(shown, field))
        RemoveField(shown);
    if (remove)
        RemoveField(field);
    else
        SetField(field, name, item.value);
}

// A field keeps the spelling that its name has in the old tag.
void TagUpdate::SetField(const std::string& field, std::string_view name, const XStr& value)
{
    const bool yearOnly =
        EqualNoCase(name, "year") && !m_options.fullDateInYear && !m_options.strictYearDate;
    const std::string text = yearOnly ? std::to_string(LeadingInteger(value)) : TextToUtf8(value);
    std::string spelling = field;
    if (const auto change = m_changes.find(field); change != m_changes.end()) {
        if (change->second.has_value())
            spelling = change->first;
        m_changes.erase(change);
    } else {
        const FieldIndex::Group group = m_old.Fields().Find(field);
        const auto first = std::ranges::find_if(group, [this](const FieldEntry& entry) {
            return m_old.Frames()[entry.frame].showsValue;
        });
        if (first != group.end())
            spelling = first->Field();
    }
    m_changes.emplace(spelling, isMultiValField(name)
                                    ? id3parser::SplitValues(text, id3parser::kItemValueSeparator)
                                    : id3parser::Values{text});
}

void TagUpdate::RemoveField(const std::string& field)
{
    m_changes.insert_or_assign(field, std::nullopt);
}

// Which old frames are written with their field, or go with it.
std::vector<bool> TagUpdate::Gone(const id3parser::NewFields& fields) const
{
    const std::span<const WireFrame> frames = m_old.Frames();
    std::vector<bool> isGone(frames.size());
    m_old.Fields().ForEachField([&](FieldIndex::Group group) {
        const bool isChanged = fields.IsChanged(group);
        for (const FieldEntry& entry : group)
            isGone[entry.frame] = isChanged || frames[entry.frame].showsValue;
    });
    return isGone;
}

std::string TagUpdate::LeftOut() const
{
    const std::span<const WireFrame> frames = m_old.Frames();
    const id3parser::NewFields fields(m_old, m_changes, m_options.CreateArgs());
    const std::vector<bool> isGone = Gone(fields);
    std::set<std::string> names;
    for (size_t i = 0; i < frames.size(); ++i)
        if (!isGone[i] && m_old.IsLost(frames[i]))
            names.insert(frames[i].Name());
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

// The frames that no field represents, and those that show no value of a field that stays.
void TagUpdate::EmitRest(const id3parser::NewFields& fields, const FrameSink& sink) const
{
    const std::span<const WireFrame> frames = m_old.Frames();
    const std::vector<bool> isGone = Gone(fields);
    for (size_t i = 0; i < frames.size(); ++i)
        if (!isGone[i] && frames[i].id != id3parser::kFrameAPIC)
            m_old.Emit(frames[i], sink);
}

bool TagUpdate::Write(uint64_t availableSize, uint64_t maxPadding, size_t alignment,
                      std::vector<uint8_t>& bytes) const
{
    if (m_isLost)
        return false;
    const id3parser::NewFields fields(m_old, m_changes, m_options.CreateArgs());
    const NewPictures pictures(m_old, m_pictures, m_task);
    const auto emit = [&](const FrameSink& sink) {
        const FrameSink checked = [&](const OutFrame& frame) {
            // Readers give the whole tag up at a frame that is too large. Unsynchronisation
            // makes it up to twice as large.
            if (frame.head.size() + frame.body.size() >= id3parser::kFrameSizeLimit / 2 &&
                FrameSize(frame, m_old.Revision()) >=
                    id3parser::kFrameHeaderSize + id3parser::kFrameSizeLimit)
                throw id3parser::writeError();
            sink(frame);
        };
        fields.Emit(checked);
        EmitRest(fields, checked);
        pictures.Emit(checked);
    };
    try {
        id3parser::streamOutBuffer out;
        WriteTag(m_old.Revision(), emit, out, availableSize, maxPadding, alignment);
        bytes = std::move(out.bytes);
        return true;
    } catch (const id3parser::writeError&) {
        return false;
    } catch (const std::overflow_error&) {
        return false;
    }
}

} // namespace aiff
