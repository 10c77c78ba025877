// SPDX-License-Identifier: MIT
#include "tags/id3parser/fields/MetaToFrame.h"

#include "support/Rating.h"
#include "support/text/Ascii.h"
#include "tags/id3parser/fields/Dates.h"
#include "tags/id3parser/fields/FieldNames.h"
#include "tags/id3parser/fields/Genres.h"
#include "tags/id3parser/fields/StringFrames.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

namespace aiff::id3parser
{

namespace
{

using Group = FieldIndex::Group;

const FrameSink kNowhere = [](const OutFrame&) {};

// Whether values come as expected, one after the other.
struct Comparison : FieldSink {
    explicit Comparison(const Values& values) : next(values.begin()), end(values.end()) {}
    void add(std::string_view, std::string_view value) override
    {
        equal = equal && next != end && *next == value;
        if (equal)
            ++next;
    }
    bool IsEqual() const { return equal && next == end; }

    Values::const_iterator next, end;
    bool equal = true;
};

// Builds the frames of one field.
class FrameBuilder
{
public:
    FrameBuilder(const CarriedFrames& old, Group group, const tagCreateContext& context,
                 const FrameSink& sink)
        : m_old(old), m_group(group), m_context(context), m_sink(sink)
    {
    }

    void BuildField(const FrameRule& rule, Values values);
    void custom_to_frame_multi(std::string_view field, const Values& values);

private:
    // A frame of a single value. Values may be many and equal: the first of those with one hash
    // counts how many of them need not be looked at any more.
    struct OldValue {
        size_t hash = 0;
        uint32_t frame = 0;
        uint32_t used = 0;
    };

    std::vector<OldValue> OldValues() const;
    template <class Build>
    void TakeOrBuild(const Values& values, Build build);

    void meta_to_frame(uint32_t id, std::string_view text);
    void meta_to_frame_multivalue(uint32_t id, const Values& values);
    void meta_to_frame_comm(uint32_t id, std::string_view description, std::string_view text);
    void meta_to_frame_genre(uint32_t id, const Values& values);
    void meta_olddate_to_frames(std::string_view date);
    void meta_date_to_frame(uint32_t id, std::string_view date);
    void meta_to_frame_popm(std::string_view rating);
    void AddUserText(std::string_view description, const Values& values);
    void AddUrl(uint32_t id, std::string_view url);
    void AddNumeric(uint32_t id, std::string_view text);

    const CarriedFrames& m_old;
    Group m_group; // the old frames
    const tagCreateContext& m_context;
    const FrameSink& m_sink;
};

void FrameBuilder::BuildField(const FrameRule& rule, Values values)
{
    // A value may be several times as large as its frame: it is not held twice.
    const auto joined = [&values] {
        return JoinValues(std::exchange(values, {}), kItemValueSeparator);
    };
    switch (rule.write) {
    case WriteRule::None:
        return;
    case WriteRule::Text:
        return meta_to_frame(rule.id, joined());
    case WriteRule::MultiValue:
        return meta_to_frame_multivalue(rule.id, values);
    case WriteRule::Comment:
        return TakeOrBuild(values,
                           [&](std::string_view text) { meta_to_frame_comm(rule.id, {}, text); });
    case WriteRule::Url:
        return TakeOrBuild(values, [&](std::string_view url) { AddUrl(rule.id, url); });
    case WriteRule::Genre:
        return meta_to_frame_genre(rule.id, values);
    case WriteRule::OldDate:
        return meta_olddate_to_frames(joined());
    case WriteRule::Date:
        return meta_date_to_frame(rule.id, joined());
    case WriteRule::Rating:
        return meta_to_frame_popm(values.front());
    }
}

// The old frames that hold a single value and can stay as they are, by a hash of it; equal ones
// in their order.
std::vector<FrameBuilder::OldValue> FrameBuilder::OldValues() const
{
    std::vector<OldValue> old;
    old.reserve(m_group.size());
    for (const FieldEntry& entry : m_group) {
        const Values values = ValuesOf(m_old.Frames(), {&entry, 1});
        if (!values.empty() && ++values.begin() == values.end() &&
            m_old.Emit(m_old.Frames()[entry.frame], kNowhere))
            old.push_back({std::hash<std::string_view>()(values.front()), entry.frame});
    }
    std::ranges::sort(old, {},
                      [](const OldValue& value) { return std::pair(value.hash, value.frame); });
    return old;
}

// For a field with a frame for each value: keeps the frame that holds the value, or lets
// `build(value)` make a new one.
template <class Build>
void FrameBuilder::TakeOrBuild(const Values& values, Build build)
{
    std::vector<OldValue> old = OldValues();
    for (const std::string_view value : values) {
        const size_t hash = std::hash<std::string_view>()(value);
        const auto first = std::ranges::lower_bound(old, hash, {}, &OldValue::hash);
        const auto found = first == old.end() ? first : first + first->used;
        const FieldEntry alone;
        if (found == old.end() || found->hash != hash ||
            ValuesOf({&m_old.Frames()[found->frame], 1}, {&alone, 1}).front() != value) {
            build(value);
        } else {
            m_old.Emit(m_old.Frames()[found->frame], m_sink);
            ++first->used;
        }
    }
}

void FrameBuilder::meta_to_frame(uint32_t id, std::string_view text)
{
    t_frame frame(id);
    frame.SetAsString(text, m_context);
    m_sink(AsNew(frame));
}

void FrameBuilder::meta_to_frame_multivalue(uint32_t id, const Values& values)
{
    if (m_context.isOldRevision())
        return meta_to_frame(id, JoinValues(values, kOldValueSeparator));
    EmitStrings(id, values, m_sink, [&](t_frame& frame, std::string_view value, size_t index) {
        index == 0 ? frame.SetAsString(value, m_context) : frame.AddString(value);
    });
}

void FrameBuilder::meta_to_frame_comm(uint32_t id, std::string_view description,
                                      std::string_view text)
{
    tagCreateContext context = m_context;
    // Numbers in comments of iTunes are written in the encoding that iTunes uses.
    if (IsItunesCrap(description) && iTunIsNumeric(text))
        context.encoding = kEncodingISO;
    t_frame frame(id);
    frame.SetAsString(description, context);
    frame.AddString(text);
    m_sink(AsNew(frame));
}

void FrameBuilder::meta_to_frame_genre(uint32_t id, const Values& values)
{
    Values genres;
    for (const std::string_view genre : values)
        genres.push_back(MangleGenre(genre));
    if (!m_context.isOldRevision())
        return meta_to_frame_multivalue(id, genres);
    const std::string joined = JoinValues(std::exchange(genres, {}), kOldGenreSeparator);
    meta_to_frame(id, joined);
}

void FrameBuilder::meta_olddate_to_frames(std::string_view date)
{
    const std::optional<OldDate> parts = SplitOldDate(date);
    if (!parts.has_value() || m_context.fullDateInYear)
        return meta_date_to_frame(kFrameTYER, date);
    AddNumeric(kFrameTYER, parts->year);
    if (!parts->dayAndMonth.empty())
        AddNumeric(kFrameTDAT, parts->dayAndMonth);
}

void FrameBuilder::meta_date_to_frame(uint32_t id, std::string_view date)
{
    const bool numeric = std::ranges::all_of(date, [](char c) {
        return IsAsciiDigit(c) || c == '-' || c == ':' || c == 'T' || c == ' ';
    });
    if (numeric)
        AddNumeric(id, date);
    else
        meta_to_frame(id, date);
}

// A value that does not begin with a number is no rating and is left out. The last rating is
// the one that counts: it changes and keeps whose it is and the play counter.
void FrameBuilder::meta_to_frame_popm(std::string_view rating)
{
    int number = 0;
    const auto end = rating.data() + rating.size();
    const auto result = std::from_chars(rating.data(), end, number);
    if (result.ec == std::errc::invalid_argument)
        return;
    if (result.ec == std::errc::result_out_of_range)
        number = std::numeric_limits<int>::max();
    const uint8_t byte = ratingToPOPM(number);

    t_frame frame(kFramePOPM);
    const WireFrame* last = nullptr;
    for (const FieldEntry& entry : m_group) {
        const WireFrame& wire = m_old.Frames()[entry.frame];
        if (wire.id != kFramePOPM)
            continue;
        // Without a rating those of others would count.
        if (last != nullptr && byte != 0)
            m_old.Emit(*last, m_sink);
        last = &wire;
    }
    if (last == nullptr || !ReadFrame(*last, frame)) {
        const uint8_t rest[] = {0, 0};
        frame.data.set_data_fromptr(POPM_User.data(), POPM_User.size());
        frame.data.append_fromptr(rest, sizeof rest);
    }
    const auto body = frame.data.view();
    const auto mark = std::ranges::find(body, uint8_t{0}) - body.begin();
    frame.data.get_ptr()[mark + 1] = byte;
    m_sink(AsNew(frame));
}

void FrameBuilder::AddUserText(std::string_view description, const Values& values)
{
    EmitStrings(kFrameTXXX, values, m_sink,
                [&](t_frame& frame, std::string_view value, size_t index) {
                    if (index == 0)
                        frame.SetAsString(description, m_context);
                    frame.AddString(value);
                });
}

void FrameBuilder::AddUrl(uint32_t id, std::string_view url)
{
    t_frame frame(id);
    frame.SetAsURL(url);
    m_sink(AsNew(frame));
}

void FrameBuilder::AddNumeric(uint32_t id, std::string_view text)
{
    t_frame frame(id);
    frame.SetAsNumeric(text);
    m_sink(AsNew(frame));
}

void FrameBuilder::custom_to_frame_multi(std::string_view field, const Values& values)
{
    std::string_view description = field;
    const auto userText = [&](std::string_view value) { AddUserText(field, {value}); };
    if (skip_www_prefix(description)) {
        TakeOrBuild(values, [&](std::string_view url) {
            t_frame frame(kFrameWXXX);
            frame.SetAsURLEx(description, url, m_context);
            m_sink(AsNew(frame));
        });
    } else if (skip_comment_prefix(description)) {
        const std::string sane = commNameSanity(description);
        TakeOrBuild(values,
                    [&](std::string_view text) { meta_to_frame_comm(kFrameCOMM, sane, text); });
    } else if (IsRGMeta(field)) {
        TakeOrBuild(values, userText);
    } else if (!m_context.isOldRevision()) {
        AddUserText(field, values);
    } else if (isFieldNameSlashTXXX(field)) {
        AddUserText(field, {JoinValues(values, kOldValueSeparator)});
    } else {
        TakeOrBuild(values, userText);
    }
}

// The encoding, or UTF-16 with a mark where the revision does not know it. UTF-16BE is
// never written.
uint8_t EncodingFor(const tagCreateContext& context, uint8_t encoding)
{
    const bool unknown =
        encoding == kEncodingUTF16BE || (context.isOldRevision() && encoding > kEncodingUTF16);
    return unknown ? uint8_t{kEncodingUTF16} : encoding;
}

// The rules of writing in a revision, by the fields.
using RulesByField = std::map<std::string_view, const FrameRule*, metaCompare>;

RulesByField CollectRules(t_tagRevision revision)
{
    RulesByField rules;
    for (const FrameRule& rule : FrameRules())
        if (rule.write != WriteRule::None && rule.FitsRevision(revision))
            rules.emplace(rule.field, &rule);
    return rules;
}

// ID3v2.2 is never written.
const RulesByField& WritingRules(t_tagRevision revision)
{
    static const RulesByField rules[] = {CollectRules(kRevision3), CollectRules(kRevision4)};
    return rules[revision == kRevision4 ? 1 : 0];
}

} // namespace

NewFields::NewFields(const CarriedFrames& old, const FieldChanges& changes,
                     const tagCreateArgs& args)
    : m_old(old), m_changes(changes)
{
    static_cast<tagCreateArgs&>(m_context) = args;
    m_context.revision = old.Revision();
    m_context.encoding = EncodingFor(m_context, args.encoding);
}

bool NewFields::IsChanged(FieldIndex::Group group) const
{
    const auto change = m_changes.find(group.front().Field());
    if (change == m_changes.end())
        return false;
    if (!change->second.has_value())
        return true;
    Comparison comparison(*change->second);
    ShowField(m_old.Frames(), group, comparison);
    return !comparison.IsEqual();
}

// Emits the old frames that show a value, if the new revision can express each.
bool NewFields::EmitOld(FieldIndex::Group group, const FrameSink& sink) const
{
    const auto emitAll = [&](const FrameSink& to) {
        return std::ranges::all_of(group, [&](const FieldEntry& entry) {
            const WireFrame& wire = m_old.Frames()[entry.frame];
            return !wire.showsValue || m_old.Emit(wire, to);
        });
    };
    return emitAll(kNowhere) && emitAll(sink);
}

void NewFields::EmitField(std::string_view name, const FrameRule* rule, const FrameSink& sink) const
{
    if (rule != nullptr && rule->write == WriteRule::Rating && m_context.omitRating)
        return;
    const FieldIndex::Group group = m_old.Fields().Find(name);
    const bool isChanged = group.empty() || IsChanged(group);
    if (!isChanged && EmitOld(group, sink))
        return;
    const auto change = isChanged ? m_changes.find(name) : m_changes.end();
    if (change != m_changes.end() && !change->second.has_value())
        return;
    const bool isOld = change == m_changes.end();
    const auto shown = std::ranges::find_if(
        group, [this](const FieldEntry& entry) { return m_old.Frames()[entry.frame].showsValue; });
    if (isOld && shown == group.end())
        return;
    name = isOld ? shown->Field() : std::string_view(change->first);
    Values values = isOld ? ValuesOf(m_old.Frames(), group) : *change->second;
    FrameBuilder builder(m_old, group, m_context, sink);
    if (rule == nullptr)
        builder.custom_to_frame_multi(name, values);
    else
        builder.BuildField(*rule, std::move(values));
}

// Calls visit(name) for each field of the old frames and of the changes, by their names.
template <class Visit>
void NewFields::ForEachName(Visit visit) const
{
    const metaCompare less;
    auto change = m_changes.begin();
    m_old.Fields().ForEachField([&](FieldIndex::Group group) {
        const std::string_view name = group.front().Field();
        for (; change != m_changes.end() && !less(name, change->first); ++change)
            if (less(change->first, name))
                visit(change->first);
        visit(name);
    });
    for (; change != m_changes.end(); ++change)
        visit(change->first);
}

void NewFields::Emit(const FrameSink& sink) const
{
    const RulesByField& rules = WritingRules(m_context.revision);
    const std::span<const FrameRule> table = FrameRules();
    std::vector<bool> isWanted(table.size());
    ForEachName([&](std::string_view name) {
        if (const auto own = rules.find(name); own != rules.end())
            isWanted[static_cast<size_t>(own->second - table.data())] = true;
    });
    for (size_t i = 0; i < table.size(); ++i)
        if (isWanted[i])
            EmitField(table[i].field, &table[i], sink);
    ForEachName([&](std::string_view name) {
        if (!rules.contains(name))
            EmitField(name, nullptr, sink);
    });
}

} // namespace aiff::id3parser
