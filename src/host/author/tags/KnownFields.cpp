// SPDX-License-Identifier: MIT
#include "host/author/tags/KnownFields.h"

#include "host/author/tags/FrameBody.h"
#include "host/author/tags/FrameProperties.h"
#include "host/writers/TagContent.h"
#include "host/writers/TagNames.h"
#include "support/text/Ascii.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace aiff::host
{
namespace
{

using id3parser::FrameRule;

constexpr std::string_view kUserText = "TXXX";
constexpr std::string_view kUserTextPrefix = "TXXX:";

// Fields whose frames have no row of their own in the table of frames, or no property there.
struct FixedField {
    std::string_view name;
    std::string_view frame;
    std::string_view property;
};
constexpr FixedField kFixed[] = {
    {"Comment", "COMM", "COMMENT"},
    {"User defined URL link", "WXXX", "URL"},
    {"Lyrics", "USLT", "LYRICS"},
    {"Rating", "POPM", kRatingProperty},
    {"Involved People", "TIPL", kInvolvedPeople},
    {"Musician Credits", "TMCL", kMusicianCredits},
};

// Descriptions of TXXX frames that other programs know, too.
constexpr const char* kUserTexts[] = {
    "Acoustid Fingerprint",
    "Acoustid Id",
    "ARRANGER",
    "ARTISTS",
    "ASIN",
    "BARCODE",
    "CATALOGNUMBER",
    "DJMIXER",
    "ENGINEER",
    "ENERGYLEVEL",
    "LICENSE",
    "MIXER",
    "MusicBrainz Album Artist Id",
    "MusicBrainz Album Id",
    "MusicBrainz Album Release Country",
    "MusicBrainz Album Status",
    "MusicBrainz Album Type",
    "MusicBrainz Artist Id",
    "MusicBrainz Disc Id",
    "MusicBrainz Release Group Id",
    "MusicBrainz Release Track Id",
    "MusicBrainz Track Id",
    "MusicBrainz Work Id",
    "MusicIP PUID",
    "PRODUCER",
    "replaygain_album_gain",
    "replaygain_album_peak",
    "replaygain_track_gain",
    "replaygain_track_peak",
    "SCRIPT",
};

// Text frames that decoders have no field for.
struct FrameField {
    std::string_view name;
    std::string_view frame;
    bool isV24 = false; // ID3v2.3 has no such frame
};
constexpr FrameField kFrameFields[] = {
    {"Encoding time", "TDEN", true},
    {"File type", "TFLT"},
    {"Mood", "TMOO", true},
    {"Movement", "MVNM"},
    {"Movement number", "MVIN"},
    {"Original file name", "TOFN"},
    {"Original lyricist", "TOLY"},
    {"Playlist delay", "TDLY"},
    {"Podcast category", "TCAT"},
    {"Podcast description", "TDES"},
    {"Podcast id", "TGID"},
    {"Podcast keywords", "TKWD"},
    {"Produced notice", "TPRO", true},
    {"Tagging time", "TDTG", true},
};

// What people call fields, beside the names of frames, of properties and of TagNames.
constexpr std::pair<std::string_view, std::string_view> kAliases[] = {
    {"Band", "Album Artist"},
    {"Content Group", "Style"},
    {"Content Type", "Genre"},
    {"Date Released", "Release date"},
    {"Grouping", "Style"},
    {"iTunes Compilation", "Compilation"},
    {"Mix Artist", "Interpreted, remixed, or otherwise modified by"},
    {"Modified By", "Interpreted, remixed, or otherwise modified by"},
    {"Original Release Date", "Original release year"},
    {"Original Year", "Original release year"},
    {"Part Of Compilation", "Compilation"},
    {"Recording Date", "Year"},
    {"Remixed By", "Interpreted, remixed, or otherwise modified by"},
    {"Sort Album", "Album Sort"},
    {"Sort Album Artist", "Album Artist Sort"},
    {"Sort Artist", "Artist Sort"},
    {"Sort Composer", "ComposerSort"},
    {"Sort Title", "Title Sort"},
    {"Text Writer", "Lyricist/Text writer"},
    {"Web Site", "User defined URL link"},
    {"Writer", "Lyricist/Text writer"},
};

// A name without what people spell differently.
std::string Folded(std::string_view name)
{
    std::string folded;
    for (const char c : name)
        if (IsAsciiLetter(c) || IsAsciiDigit(c) || static_cast<uint8_t>(c) >= 0x80)
            folded.push_back(LowerAscii(c));
    return folded;
}

class Fields
{
public:
    Fields();

    const std::vector<KnownField>& All() const { return m_fields; }
    const KnownField* Find(std::string_view name) const
    {
        const auto found = m_byName.find(Folded(name));
        return found == m_byName.end() ? nullptr : &m_fields[found->second];
    }
    // Calls visit(folded name, field) for each name.
    template <class Visit>
    void ForEachName(Visit visit) const
    {
        for (const auto& [name, index] : m_byName)
            visit(name, m_fields[index]);
    }

private:
    size_t IndexOf(std::string_view name, std::string_view property);
    void AddRule(const FrameRule& rule);
    void AddName(std::string_view name, size_t index);

    std::vector<KnownField> m_fields;
    std::map<std::string, size_t> m_byName; // by the folded name
};

void AddWord(std::string& words, const std::string& word)
{
    words += (words.empty() ? "" : ", ") + word;
}

size_t Fields::IndexOf(std::string_view name, std::string_view property)
{
    const auto found = std::ranges::find(m_fields, name, &KnownField::name);
    if (found != m_fields.end())
        return static_cast<size_t>(found - m_fields.begin());
    m_fields.push_back({std::string(name), {}, {}, std::string(property), {}, {}});
    AddName(name, m_fields.size() - 1);
    return m_fields.size() - 1;
}

// The first field that has a name keeps it.
void Fields::AddName(std::string_view name, size_t index)
{
    const std::string folded = Folded(name);
    KnownField& field = m_fields[index];
    const bool isNew = !folded.empty() && m_byName.try_emplace(folded, index).second;
    const bool isAlias = name != field.name && name != field.property;
    if (isNew && isAlias && folded != Folded(field.property))
        field.aliases.emplace_back(name);
}

void Fields::AddRule(const FrameRule& rule)
{
    const std::string id = FrameName(rule.id);
    const auto* const fixed = std::ranges::find(kFixed, id, &FixedField::frame);
    const bool isFixed = fixed != std::end(kFixed);
    if (rule.field.empty() && !isFixed)
        return;
    const std::string property = isFixed        ? std::string(fixed->property)
                                 : id[0] == 'W' ? Utf8Of(PropertyOfUrl(id))
                                                : Utf8Of(PropertyOfText(id));
    const size_t index = IndexOf(isFixed ? fixed->name : rule.field, property);
    KnownField& field = m_fields[index];
    if (rule.FitsRevision(id3parser::kRevision3))
        AddWord(field.v23, id);
    if (rule.FitsRevision(id3parser::kRevision4))
        AddWord(field.v24, id);
    m_byName.try_emplace(Folded(id), index);
}

Fields::Fields()
{
    for (const FrameRule& rule : id3parser::FrameRules())
        AddRule(rule);
    for (const FrameField& field : kFrameFields) {
        const std::string frame(field.frame);
        KnownField& known = m_fields[IndexOf(field.name, Utf8Of(PropertyOfText(frame)))];
        known.v23 = field.isV24 ? "" : frame;
        known.v24 = frame;
        m_byName.try_emplace(Folded(frame), static_cast<size_t>(&known - m_fields.data()));
    }
    for (const char* const name : kUserTexts)
        IndexOf(name, Utf8Of(PropertyOfUserText(name)));
    for (const NumberedProperty& numbered : NumberedProperties()) {
        const auto number = std::ranges::find(m_fields, numbered.number, &KnownField::property);
        if (number == m_fields.end())
            continue;
        const std::string name = number->name;
        const size_t index = IndexOf(name + " total", numbered.totals.front());
        m_fields[index].totalOf = name;
        for (const std::string_view total : numbered.totals)
            AddName(total, index);
    }
    for (KnownField& field : m_fields) {
        if (const KnownField* whole = Find(field.totalOf); whole != nullptr) {
            field.v23 = whole->v23;
            field.v24 = whole->v24;
        }
        for (std::string* frames : {&field.v23, &field.v24})
            *frames = frames->empty() ? kUserText : *frames;
    }
    for (size_t i = 0; i < m_fields.size(); ++i)
        AddName(std::string(m_fields[i].property), i);
    for (const auto& [alias, name] : kAliases)
        if (const KnownField* field = Find(name); field != nullptr)
            AddName(alias, static_cast<size_t>(field - m_fields.data()));
    for (const auto& [alias, property] : PropertyAliases())
        if (const KnownField* field = Find(property); field != nullptr)
            AddName(alias, static_cast<size_t>(field - m_fields.data()));
}

const Fields& TheFields()
{
    static const Fields fields;
    return fields;
}

// "x" of a name such as "COMMENT:x"; nothing for other names.
std::optional<std::string> DescriptionOf(const std::string& name, std::string_view prefix)
{
    const bool isDescribed = BeginsNoCase(name, prefix) && name.size() > prefix.size();
    return isDescribed ? std::optional(name.substr(prefix.size())) : std::nullopt;
}

// How many characters have to be changed, added, left out or swapped with the next one.
size_t Distance(std::string_view a, std::string_view b)
{
    std::vector<size_t> before, previous, row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        before = std::exchange(previous, row);
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({previous[j] + 1, row[j - 1] + 1,
                               previous[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], before[j - 2] + 1);
        }
    }
    return row.back();
}

} // namespace

const std::vector<KnownField>& KnownFields()
{
    return TheFields().All();
}

const KnownField* FindKnownField(std::string_view name)
{
    return TheFields().Find(name);
}

std::string FieldName(const std::string& name)
{
    if (const auto own = DescriptionOf(name, kUserTextPrefix))
        return *own;
    if (const auto description = DescriptionOf(name, "COMMENT:"))
        return "Comment " + *description;
    if (const auto description = DescriptionOf(name, "URL:"))
        return "User defined URL link " + *description;
    const KnownField* const field = FindKnownField(name);
    return field == nullptr ? name : field->name;
}

std::string FrameOfField(std::string_view name, int revision)
{
    for (const FrameField& field : kFrameFields)
        if (EqualNoCase(field.name, name) && (!field.isV24 || revision == kNewestVersion))
            return std::string(field.frame);
    return {};
}

std::string FieldOfFrame(std::string_view frame)
{
    const auto* const found = std::ranges::find(kFrameFields, frame, &FrameField::frame);
    return found == std::end(kFrameFields) ? "" : std::string(found->name);
}

bool MakesOwnField(const std::string& name)
{
    const std::string field = FieldName(name);
    return field == name && FindKnownField(name) == nullptr && !BeginsNoCase(name, "Comment ") &&
           !BeginsNoCase(name, "User defined URL link ");
}

std::string NearestFieldName(std::string_view name)
{
    constexpr size_t kPerMistake = 4; // letters that a name has for each mistake in it
    constexpr size_t kMostMistakes = 2;
    const std::string typed = Folded(name);
    size_t least = std::min(typed.size() / kPerMistake, kMostMistakes) + 1;
    std::string nearest;
    if (typed.size() > 64) // is no mistyped name
        return nearest;
    TheFields().ForEachName([&](const std::string& known, const KnownField& field) {
        const size_t distance = known.size() < kPerMistake ? least : Distance(typed, known);
        if (distance < least) {
            least = distance;
            nearest = field.name;
        }
    });
    return nearest;
}

} // namespace aiff::host
