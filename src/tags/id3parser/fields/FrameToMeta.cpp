// SPDX-License-Identifier: MIT
#include "tags/id3parser/fields/FrameToMeta.h"

#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/fields/Dates.h"
#include "tags/id3parser/fields/FieldNames.h"
#include "tags/id3parser/fields/Genres.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace aiff::id3parser
{

namespace
{

// One frame on its way into the map.
struct Reading {
    const t_frame& frame;
    t_tagRevision revision;
    FieldSink& sink;
    metaMap* map; // the same, or null where no frame changes what another one said
    bool strict;

    void RefuseIf(bool broken) const
    {
        if (broken && strict)
            throw parseError();
    }

    std::string String(size_t index) const
    {
        std::string text;
        frame.GetAsString(strict, text, index);
        return text;
    }
};

// A list may be most of a tag: its entries are read one by one.
void _add_info_slashed(const Reading& in, std::string_view field, size_t index)
{
    t_frameWalk walk;
    in.frame.EnumPieces(in.strict, index, walk, kOldValueSeparator, [&](std::string&& piece) {
        if (piece.ends_with(kOldValueSeparator))
            piece.pop_back();
        in.sink.add(field, piece);
    });
}

void frame_to_meta_multivalue(const Reading& in, std::string_view field)
{
    const size_t count = in.frame.GetStringCount();
    if (count == 1 && in.revision < kRevision4) {
        _add_info_slashed(in, field, 0);
        return;
    }
    in.RefuseIf(in.revision < kRevision4);
    t_frameWalk walk;
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        in.frame.EnumString(in.strict, text, i, walk);
        in.sink.add(field, text);
    }
}

void frame_to_meta_genre(const Reading& in, std::string_view field)
{
    const size_t count = in.frame.GetStringCount();
    t_frameWalk walk;
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        if (in.revision < kRevision4) {
            in.frame.EnumPieces(in.strict, i, walk, kOldGenreSeparator, [&](std::string&& piece) {
                unmangle_genres(piece, field, in.sink);
            });
            continue;
        }
        in.frame.EnumString(in.strict, text, i, walk);
        if (const std::string genre = unmangle_genre(text); !genre.empty())
            in.sink.add(field, genre);
    }
}

// Replaces the first value of the field, which counts as empty when there is none.
template <class Change>
void ChangeFirst(metaMap& map, std::string_view field, Change change)
{
    Values& values = map.findOrAdd(field);
    Values changed = {change(values.empty() ? std::string_view() : values.front())};
    for (auto value = values.begin(); !values.empty() && ++value != values.end();)
        changed.push_back(*value);
    values = std::move(changed);
}

void frame_to_meta_tyer(const Reading& in, std::string_view field)
{
    const std::string own = in.String(0);
    const std::string_view text = own;
    const bool valid = is_valid_year(text);
    in.RefuseIf(!valid);
    if (valid)
        ChangeFirst(*in.map, field,
                    [&](std::string_view year) { return YearWithTYER(year, text); });
    else
        ChangeFirst(*in.map, field,
                    [&](std::string_view year) { return year.empty() ? text : year; });
}

void frame_to_meta_tdat(const Reading& in, std::string_view field)
{
    const std::string text = in.String(0);
    const bool valid = _is_valid_date(text, "####");
    in.RefuseIf(!valid);
    if (!valid)
        return;
    ChangeFirst(*in.map, field, [&](std::string_view year) { return YearWithTDAT(year, text); });
}

// The body: an e-mail address, a 0, the rating and perhaps a play counter.
std::optional<uint8_t> RatingOf(const t_frame& frame)
{
    const auto body = frame.data.view();
    const auto end = std::ranges::find(body, uint8_t{0});
    if (end == body.end() || end + 1 == body.end())
        return std::nullopt;
    return *(end + 1);
}

void frame_to_meta_popm(const Reading& in, std::string_view field)
{
    const std::optional<uint8_t> byte = RatingOf(in.frame);
    if (!byte.has_value())
        throw parseError();
    if (*byte != 0)
        in.map->set(field, std::to_string(POPMToRating(*byte)));
}

void frame_to_meta_custom_text(const Reading& in, size_t count, std::string key)
{
    if (IsRGMeta(key)) {
        const std::string value = in.String(1);
        const bool sane = IsSaneRGVal(value);
        in.RefuseIf(!sane);
        if (sane)
            in.sink.add(key, value);
        return;
    }
    multiTXXX_undecorate(key);
    if (in.revision < kRevision4 && count == 2 && isFieldNameSlashTXXX(key)) {
        _add_info_slashed(in, key, 1);
        return;
    }
    t_frameWalk walk;
    std::string value;
    for (size_t i = 1; i < count; ++i) {
        in.frame.EnumString(in.strict, value, i, walk);
        in.sink.add(key, value);
    }
}

void frame_to_meta_custom(const Reading& in)
{
    const size_t count = in.frame.GetStringCount();
    in.RefuseIf(count < 2);
    if (count < 2)
        return;
    std::string description = in.String(0);
    if (in.frame.id == kFrameWXXX) {
        std::string url;
        in.frame.GetAsWXXX(in.strict, url);
        in.sink.add(FieldWithDescription(kFieldUserUrl, description), url);
    } else if (!description.empty()) {
        frame_to_meta_custom_text(in, count, std::move(description));
    }
}

void ApplyRule(const Reading& in, const FrameRule& rule)
{
    switch (rule.read) {
    case ReadRule::None:
        return;
    case ReadRule::Single:
        in.sink.add(rule.field, in.String(0));
        return;
    case ReadRule::MultiValue:
        return frame_to_meta_multivalue(in, rule.field);
    case ReadRule::SecondString:
        in.sink.add(rule.field, in.String(1));
        return;
    case ReadRule::Url: {
        std::string url;
        in.frame.GetAsURL(url);
        in.sink.add(rule.field, url);
        return;
    }
    case ReadRule::Genre:
        return frame_to_meta_genre(in, rule.field);
    case ReadRule::Year:
        return frame_to_meta_tyer(in, rule.field);
    case ReadRule::DayAndMonth:
        return frame_to_meta_tdat(in, rule.field);
    case ReadRule::Rating:
        return frame_to_meta_popm(in, rule.field);
    case ReadRule::Comment:
        in.sink.add(FieldWithDescription(kFieldComment, in.String(0)), in.String(1));
        return;
    case ReadRule::UserText:
    case ReadRule::UserUrl:
        return frame_to_meta_custom(in);
    }
}

void CheckStrictly(const t_frame& frame, t_tagRevision revision, const FrameRule& rule)
{
    if (!rule.FitsRevision(revision))
        throw parseError();
    const size_t usual = frame.isUserTextFrame() ? 2 : 1;
    if (revision < kRevision4 && frame.isTextFrame() && frame.GetStringCount() != usual)
        throw parseError();
}

void Apply(const Reading& in)
{
    const FrameRule* rule = RuleForFrame(in.frame.id);
    if (rule == nullptr || (in.frame.data.get_size() == 0 && !in.strict))
        return;
    try {
        if (in.strict)
            CheckStrictly(in.frame, in.revision, *rule);
        ApplyRule(in, *rule);
    } catch (const parseError&) {
        if (in.strict)
            throw;
    }
}

// The description of a frame that has one; nothing for a body that cannot be read.
std::optional<std::string> DescriptionOf(const t_frame& frame)
{
    try {
        if (frame.id != kFrameCOMM && frame.GetStringCount() == 0)
            return std::nullopt;
        std::string description;
        frame.GetAsString(false, description, 0);
        return description;
    } catch (const parseError&) {
        return std::nullopt;
    }
}

} // namespace

void frame_to_infos(const t_frame& frame, t_tagRevision revision, metaMap& map, bool strict)
{
    Apply({frame, revision, map, &map, strict});
}

void frame_to_infos(const t_frame& frame, t_tagRevision revision, FieldSink& sink)
{
    Apply({frame, revision, sink, nullptr, false});
}

bool ChangesOthers(uint32_t id)
{
    const FrameRule* rule = RuleForFrame(id);
    return rule != nullptr && (rule->read == ReadRule::Year || rule->read == ReadRule::Rating ||
                               rule->read == ReadRule::DayAndMonth);
}

void tag_to_metaMap(const t_tag& tag, metaMap& map, bool strict)
{
    for (const t_frame& frame : tag.Frames())
        frame_to_infos(frame, tag.Revision(), map, strict);
}

std::string FieldOfFrame(const t_frame& frame)
{
    const FrameRule* rule = RuleForFrame(frame.id);
    if (rule == nullptr)
        return {};
    // A text frame occurs once in a tag: its identifier is enough.
    if (frame.data.get_size() == 0 && !frame.isStdTextFrame())
        return {};
    if (frame.id == kFramePOPM && RatingOf(frame).value_or(0) == 0)
        return {};
    if (!rule->field.empty())
        return std::string(rule->field);
    std::optional<std::string> description = DescriptionOf(frame);
    if (!description.has_value())
        return {};
    if (rule->read == ReadRule::Comment)
        return FieldWithDescription(kFieldComment, *description);
    if (rule->read == ReadRule::UserUrl)
        return FieldWithDescription(kFieldUserUrl, *description);
    if (!IsRGMeta(*description))
        multiTXXX_undecorate(*description);
    return *description;
}

} // namespace aiff::id3parser
