// SPDX-License-Identifier: MIT
#include "host/author/edits/TagsFromJson.h"

#include "host/author/edits/Base64.h"
#include "host/author/tags/KnownFields.h"
#include "host/base/Printable.h"
#include "support/text/Ascii.h"
#include "tags/id3parser/text/TextEncodings.h"

#include <algorithm>
#include <optional>
#include <span>

namespace aiff::host
{
namespace
{

using Texts = std::vector<std::string>;
using Bytes = std::vector<uint8_t>;

constexpr char kFileBytes[] = "fileBytes"; // hexadecimal, of a name that is not UTF-8
constexpr size_t kLanguageSize = 3;
constexpr char kNotBase64[] = "has \"data\" that is not base64";

// Null when there is none.
const Json* Member(const Json& object, const char* name)
{
    const auto found = object.find(name);
    return found == object.end() || found->is_null() ? nullptr : &*found;
}

std::string TextMember(const Json& object, const char* name)
{
    const Json* const member = Member(object, name);
    return member != nullptr && member->is_string() ? member->get<std::string>() : "";
}

// Nothing where there are none, or others than texts that tags can hold.
std::optional<Texts> TextsOf(const Json* value)
{
    if (value == nullptr)
        return std::nullopt;
    Texts texts;
    for (const Json& text : value->is_array() ? *value : Json::array({*value})) {
        if (!text.is_string() || text.get_ref<const std::string&>().find('\0') != std::string::npos)
            return std::nullopt;
        texts.push_back(text);
    }
    return texts;
}

class JsonReader
{
public:
    JsonReader(const Json& object, const FileTags& tags, bool wantsV24);

    Problem Read();
    EditPlan TakePlan();

private:
    Problem ReadFields();
    Problem ReadItem(const Json& entry);
    Problem ReadField(const std::string& name, const Json& entry);
    Problem ReadLanguages(const std::string& name, const Json& entry, const Texts& values);
    Problem ReadRatings(const Json& ratings);
    Problem ReadPicture(const std::string& name, const Json& picture);
    Problem ReadFrame(const Json& entry);
    void Note(const std::string& text) { m_notes.push_back(text); }

    const Json& m_object;
    const FileTags& m_tags;
    int m_ownRevision = 0; // of what is read
    bool m_wantsV24;
    int m_revision;
    std::vector<TagItem> m_items;
    std::vector<TagItem> m_expected; // of frames
    std::vector<NewFrame> m_frames;
    std::vector<std::string> m_notes;
};

JsonReader::JsonReader(const Json& object, const FileTags& tags, bool wantsV24)
    : m_object(object), m_tags(tags), m_wantsV24(wantsV24),
      m_revision(RevisionAfterEdit(tags, wantsV24))
{
}

// ID3v2.2 and ID3v2.3 differ in what is before the body of a frame.
Problem JsonReader::Read()
{
    const Json* const list = Member(m_object, "tags");
    if (list == nullptr)
        return ReadFields();
    if (!list->is_array())
        return "has \"tags\" in its JSON that are no array";
    for (const Json& entry : *list)
        if (entry.is_object() && TagItem{TextMember(entry, "name"), {}, {}}.IsInformation())
            m_ownRevision = TextMember(entry, "value") == "ID3v2.4" ? 4 : 3;
    if (m_tags.id3v2.empty() && m_ownRevision == 4)
        m_wantsV24 = true;
    m_revision = RevisionAfterEdit(m_tags, m_wantsV24);
    for (const Json& entry : *list)
        if (Problem problem = ReadItem(entry))
            return problem;
    const Json* const frames = Member(m_object, "frames");
    for (size_t i = 0; frames != nullptr && frames->is_array() && i < frames->size(); ++i)
        if (Problem problem = ReadFrame((*frames)[i]))
            return problem;
    return {};
}

Problem JsonReader::ReadFields()
{
    for (const auto& [name, value] : m_object.items()) {
        const std::optional<Texts> texts = value.is_null() ? Texts() : TextsOf(&value);
        if (!texts || name.empty() || name.starts_with('_'))
            return "has \"" + name +
                   "\" in its JSON, which is no field with a text or an array of "
                   "texts";
        m_items.push_back({FieldName(name), JoinedItem(*texts), {}});
    }
    return {};
}

Problem JsonReader::ReadItem(const Json& entry)
{
    const std::string name = entry.is_object() ? TextMember(entry, "name") : "";
    if (name.empty())
        return "has an entry without \"name\" in its JSON";
    const TagItem item{name, {}, {}};
    if (item.IsInformation())
        return {};
    const Json* const picture = Member(entry, "picture");
    if (picture == nullptr && name.starts_with('_'))
        return "has an entry \"" + name + "\" in its JSON, which is no name";
    const Problem problem =
        picture != nullptr ? ReadPicture(name, *picture) : ReadField(name, entry);
    return problem ? problem.About("\"" + name + "\" in its JSON") : Problem();
}

Problem JsonReader::ReadField(const std::string& name, const Json& entry)
{
    const Json* const several = Member(entry, "values");
    const Json* const one = Member(entry, "value");
    const std::optional<Texts> values = several == nullptr && one == nullptr
                                            ? Texts()
                                            : TextsOf(several != nullptr ? several : one);
    if (!values)
        return "has values that are no texts";
    if (Member(entry, "languages") != nullptr && !values->empty())
        return ReadLanguages(name, entry, *values);
    if (const Json* const ratings = Member(entry, "ratings"); ratings != nullptr)
        return ReadRatings(*ratings);
    m_items.push_back({name, JoinedItem(*values), {}});
    return {};
}

// Comments and lyrics.
Problem JsonReader::ReadLanguages(const std::string& name, const Json& entry, const Texts& values)
{
    constexpr std::string_view kComment = "Comment";
    const bool isComment = BeginsNoCase(name, kComment);
    const Texts languages = TextsOf(Member(entry, "languages")).value_or(Texts());
    Texts descriptions = TextsOf(Member(entry, "descriptions")).value_or(Texts(values.size()));
    if (isComment)
        descriptions.assign(values.size(),
                            name.size() > kComment.size() ? name.substr(kComment.size() + 1) : "");
    if (languages.size() != values.size() || descriptions.size() != values.size())
        return "has not as many languages as values";
    for (size_t i = 0; i < values.size(); ++i) {
        std::string language = id3parser::exportISO(languages[i]);
        if (language.size() > kLanguageSize)
            return "has a language of more than three letters";
        language.resize(kLanguageSize); // some have none, but zeros
        NewFrame frame =
            MakeTextFrame(isComment ? "COMM" : "USLT", {descriptions[i], values[i]}, m_revision);
        std::ranges::copy(language, frame.body.begin() + 1);
        m_frames.push_back(std::move(frame));
    }
    m_expected.push_back({name, JoinedItem(values), {}});
    return {};
}

Problem JsonReader::ReadRatings(const Json& ratings)
{
    for (const Json& rating : ratings) {
        const Json* const byte = rating.is_object() ? Member(rating, "byte") : nullptr;
        const Json* const count = byte != nullptr ? Member(rating, "count") : nullptr;
        if (byte == nullptr || !byte->is_number_unsigned() || byte->get<uint64_t>() > 0xFF ||
            (count != nullptr && !count->is_number_unsigned()))
            return "has a rating without a \"byte\" from 0 to 255";
        const std::string email = id3parser::exportISO(TextMember(rating, "email"));
        NewFrame frame{"POPM", Bytes(email.begin(), email.end())};
        frame.body.push_back(0);
        frame.body.push_back(byte->get<uint8_t>());
        constexpr int kCounterBits = 32; // at least
        const uint64_t plays = count != nullptr ? count->get<uint64_t>() : 0;
        const int bits = plays >> kCounterBits != 0 ? 2 * kCounterBits : kCounterBits;
        for (int shift = bits - 8; count != nullptr && shift >= 0; shift -= 8)
            frame.body.push_back(static_cast<uint8_t>(plays >> shift));
        m_frames.push_back(std::move(frame));
    }
    return {};
}

Problem JsonReader::ReadPicture(const std::string& name, const Json& picture)
{
    constexpr uint64_t kMostTypes = 0xFF;
    const Json* const data = picture.is_object() ? Member(picture, "data") : nullptr;
    if (data == nullptr) {
        Note("leaves the picture \"" + name +
             "\" as it is: its JSON has no \"data\" (tags show "
             "--data)");
        return {};
    }
    const auto bytes = data->is_string() ? FromBase64(*data) : std::nullopt;
    const Json* const number = Member(picture, "number");
    if (!bytes)
        return kNotBase64;
    if (number == nullptr || !number->is_number_unsigned() || number->get<uint64_t>() > kMostTypes)
        return "has no \"number\" from 0 to 255";
    // After the encoding come the MIME type, the type and the description.
    NewFrame frame = MakeTextFrame("APIC", {TextMember(picture, "description")}, m_revision);
    std::string head = TextMember(picture, "mimeType");
    head.push_back('\0');
    head.push_back(static_cast<char>(number->get<uint8_t>()));
    frame.body.insert(frame.body.begin() + 1, head.begin(), head.end());
    frame.body.insert(frame.body.end(), bytes->begin(), bytes->end());
    m_frames.push_back(std::move(frame));
    return {};
}

Problem JsonReader::ReadFrame(const Json& entry)
{
    const std::string id = entry.is_object() ? TextMember(entry, "id") : "";
    const auto isSound = [](char c) { return IsAsciiUpper(c) || IsAsciiDigit(c); };
    constexpr size_t kIdSize = 4;
    const bool isFrame = id.size() == kIdSize && std::ranges::all_of(id, isSound);
    const Json* const data = isFrame ? Member(entry, "data") : nullptr;
    if (const Json* const values = isFrame ? Member(entry, "values") : nullptr; values != nullptr) {
        const std::optional<Texts> texts = TextsOf(values);
        if (!texts || texts->empty())
            return "has \"values\" of the frame " + id + " in its JSON that are no texts";
        m_frames.push_back(MakeTextFrame(id, *texts, m_revision));
    } else if (data == nullptr || m_ownRevision != m_revision) {
        Note("does not get the frame " + id + ": " +
             (data == nullptr ? "its JSON has not what it holds (tags show --data)"
                              : "it is of another version of ID3v2"));
    } else {
        const auto bytes = data->is_string() ? FromBase64(*data) : std::nullopt;
        if (!bytes)
            return Problem(kNotBase64).About("the frame " + id + " in its JSON");
        m_frames.push_back({id, *bytes});
    }
    return {};
}

EditPlan JsonReader::TakePlan()
{
    EditPlan plan = PlanEdit(m_items, m_tags, m_wantsV24);
    plan.suitsDecoder = plan.suitsDecoder && m_frames.empty();
    std::ranges::move(m_frames, std::back_inserter(plan.edit.frames));
    std::ranges::move(m_expected, std::back_inserter(plan.expected));
    std::ranges::move(m_notes, std::back_inserter(plan.notes));
    return plan;
}

} // namespace

Result<EditPlan> PlanFromJson(const Json& object, const FileTags& tags, bool wantsV24)
{
    JsonReader reader(object, tags, wantsV24);
    if (Problem problem = reader.Read())
        return problem;
    return reader.TakePlan();
}

JsonFiles::JsonFiles(const Json& json)
{
    if (json.is_object() || (json.is_array() && json.size() == 1))
        m_forAll = json.is_object() ? &json : &json.front();
    for (const Json& entry : json)
        if (json.is_array() && entry.is_object())
            m_byName[TextMember(entry, entry.contains(kFileBytes) ? kFileBytes : "file")] = &entry;
}

Result<const Json*> JsonFiles::Find(const std::string& name) const
{
    auto entry = m_byName.find(name);
    if (entry == m_byName.end())
        entry = m_byName.find(Hexadecimal(std::as_bytes(std::span(name))));
    const Json* const found = m_forAll != nullptr       ? m_forAll
                              : entry != m_byName.end() ? entry->second
                                                        : nullptr;
    if (found == nullptr || !found->is_object())
        return Problem("is not among the files of the JSON");
    if (const std::string error = TextMember(*found, "error"); !error.empty())
        return Problem("has no tags in the JSON: " + error);
    return found;
}

} // namespace aiff::host
