#include "tags/id3parser/fields/MetaToFrame.h"

#include "support/Rating.h"
#include "support/text/Ascii.h"
#include "tags/id3parser/fields/Dates.h"
#include "tags/id3parser/fields/ExistingFrames.h"
#include "tags/id3parser/fields/FieldNames.h"
#include "tags/id3parser/fields/Genres.h"
#include "tags/id3parser/frames/FrameRules.h"
#include "tags/id3parser/text/TextEncodings.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

namespace aiff::id3parser
{

namespace
{

using Values = metaMap::Values;

// Readers give up on a frame with more than kMostStrings.
constexpr size_t kStringsPerFrame = 1000;
static_assert(kStringsPerFrame < kMostStrings);

class FrameBuilder
{
public:
    FrameBuilder(t_tag& tag, metaMap& map, ExistingFrames& existing,
                 const tagCreateContext& context)
        : m_frames(tag.Frames()), m_map(map), m_existing(existing), m_context(context)
    {
    }

    void Build();

private:
    void BuildField(const FrameRule& rule, const Values& values);
    void custom_to_frame_multi(const std::string& field, const Values& values);
    bool handleSlashedTXXX(const std::string& field, const Values& values);

    void meta_to_frame(uint32_t id, std::string_view text);
    void meta_to_frame_multivalue(uint32_t id, const Values& values);
    void meta_to_frame_comm(uint32_t id, std::string_view description, std::string_view text);
    void meta_to_frame_genre(uint32_t id, const Values& values);
    void meta_olddate_to_frames(std::string_view date);
    void meta_date_to_frame(uint32_t id, std::string_view date);
    void meta_to_frame_popm(std::string_view rating);
    void AddUserText(std::string_view description, const Values& values);

    t_frame& Add(uint32_t id) { return m_frames.emplace_back(id); }

    t_tag::FrameList& m_frames;
    metaMap& m_map;
    ExistingFrames& m_existing;
    const tagCreateContext& m_context;
};

void FrameBuilder::Build()
{
    for (const FrameRule& rule : FrameRules()) {
        if (rule.write == WriteRule::None || !rule.FitsRevision(m_context.revision))
            continue;
        const Values* values = m_map.find(rule.field);
        if (values == nullptr)
            continue;
        const bool omitted = rule.write == WriteRule::Rating && m_context.omitRating;
        if (!values->empty() && !omitted &&
            !m_existing.TakeUnchanged(rule.field, *values, m_frames))
            BuildField(rule, *values);
        m_map.removeField(rule.field);
    }
    for (const auto& [field, values] : m_map)
        if (!values.empty() && !m_existing.TakeUnchanged(field, values, m_frames))
            custom_to_frame_multi(field, values);
}

void FrameBuilder::BuildField(const FrameRule& rule, const Values& values)
{
    switch (rule.write) {
    case WriteRule::None:
        return;
    case WriteRule::Text:
        return meta_to_frame(rule.id, JoinValues(values, kItemValueSeparator));
    case WriteRule::MultiValue:
        return meta_to_frame_multivalue(rule.id, values);
    case WriteRule::Comment:
        return m_existing.TakeOrBuild(rule.field, values, m_frames, [&](const std::string& text) {
            meta_to_frame_comm(rule.id, {}, text);
        });
    case WriteRule::Url:
        return m_existing.TakeOrBuild(rule.field, values, m_frames,
                                      [&](const std::string& url) { Add(rule.id).SetAsURL(url); });
    case WriteRule::Genre:
        return meta_to_frame_genre(rule.id, values);
    case WriteRule::OldDate:
        return meta_olddate_to_frames(JoinValues(values, kItemValueSeparator));
    case WriteRule::Date:
        return meta_date_to_frame(rule.id, JoinValues(values, kItemValueSeparator));
    case WriteRule::Rating:
        return meta_to_frame_popm(values.front());
    }
}

void FrameBuilder::meta_to_frame(uint32_t id, std::string_view text)
{
    Add(id).SetAsString(text, m_context);
}

void FrameBuilder::meta_to_frame_multivalue(uint32_t id, const Values& values)
{
    if (m_context.isOldRevision())
        return meta_to_frame(id, JoinValues(values, kOldValueSeparator));
    for (size_t i = 0; i < values.size(); ++i) {
        if (i % kStringsPerFrame == 0)
            meta_to_frame(id, values[i]);
        else
            m_frames.back().AddString(values[i]);
    }
}

void FrameBuilder::meta_to_frame_comm(uint32_t id, std::string_view description,
                                      std::string_view text)
{
    tagCreateContext context = m_context;
    // Numbers in comments of iTunes are written in the encoding that iTunes uses.
    if (IsItunesCrap(description) && iTunIsNumeric(text))
        context.encoding = kEncodingISO;
    t_frame& frame = Add(id);
    frame.SetAsString(description, context);
    frame.AddString(text);
}

void FrameBuilder::meta_to_frame_genre(uint32_t id, const Values& values)
{
    Values genres(values.size());
    std::ranges::transform(values, genres.begin(), MangleGenre);
    if (m_context.isOldRevision())
        meta_to_frame(id, JoinValues(genres, kOldGenreSeparator));
    else
        meta_to_frame_multivalue(id, genres);
}

void FrameBuilder::meta_olddate_to_frames(std::string_view date)
{
    const std::optional<OldDate> parts = SplitOldDate(date);
    if (!parts.has_value() || m_context.fullDateInYear)
        return meta_date_to_frame(kFrameTYER, date);
    Add(kFrameTYER).SetAsNumeric(parts->year);
    if (!parts->dayAndMonth.empty())
        Add(kFrameTDAT).SetAsNumeric(parts->dayAndMonth);
}

void FrameBuilder::meta_date_to_frame(uint32_t id, std::string_view date)
{
    const bool numeric = std::ranges::all_of(date, [](char c) {
        return IsAsciiDigit(c) || c == '-' || c == ':' || c == 'T' || c == ' ';
    });
    if (numeric)
        Add(id).SetAsNumeric(date);
    else
        meta_to_frame(id, date);
}

// A value that does not begin with a number is no rating and is left out.
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
    t_frame& frame = Add(kFramePOPM);
    frame.data.set_data_fromptr(POPM_User.data(), POPM_User.size());
    const uint8_t rest[] = {0, byte};
    frame.data.append_fromptr(rest, sizeof rest);
}

void FrameBuilder::AddUserText(std::string_view description, const Values& values)
{
    for (size_t i = 0; i < values.size(); ++i) {
        if (i % kStringsPerFrame == 0)
            meta_to_frame(kFrameTXXX, description);
        m_frames.back().AddString(values[i]);
    }
}

// False for fields that get a frame for each value.
bool FrameBuilder::handleSlashedTXXX(const std::string& field, const Values& values)
{
    if (!isFieldNameSlashTXXX(field))
        return false;
    AddUserText(field, {JoinValues(values, kOldValueSeparator)});
    return true;
}

void FrameBuilder::custom_to_frame_multi(const std::string& field, const Values& values)
{
    const auto eachValue = [&](auto build) {
        m_existing.TakeOrBuild(field, values, m_frames, build);
    };
    std::string_view description = field;
    if (skip_www_prefix(description)) {
        eachValue([&](const std::string& url) {
            Add(kFrameWXXX).SetAsURLEx(description, url, m_context);
        });
    } else if (skip_comment_prefix(description)) {
        const std::string sane = commNameSanity(description);
        eachValue([&](const std::string& text) { meta_to_frame_comm(kFrameCOMM, sane, text); });
    } else if (IsRGMeta(field)) {
        eachValue([&](const std::string& value) { AddUserText(field, {value}); });
    } else if (!m_context.isOldRevision()) {
        AddUserText(field, values);
    } else if (!handleSlashedTXXX(field, values)) {
        eachValue([&](const std::string& value) { AddUserText(field, {value}); });
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

} // namespace

void metaMap_to_tag(t_tag& tag, metaMap map, const tagCreateArgs& args)
{
    if (tag.Revision() != kRevision3 && tag.Revision() != kRevision4)
        tag.SetRevision(kRevision3);
    tagCreateContext context;
    static_cast<tagCreateArgs&>(context) = args;
    context.revision = tag.Revision();
    context.encoding = EncodingFor(context, args.encoding);

    t_tag::FrameList before;
    before.swap(tag.Frames());
    ExistingFrames existing(std::move(before), tag.Revision(), map);
    FrameBuilder(tag, map, existing, context).Build();
    existing.TakeRest(tag.Frames());
}

} // namespace aiff::id3parser
