// SPDX-License-Identifier: MIT

#include "host/author/tags/ReadId3.h"

#include "host/author/tags/FrameBody.h"
#include "host/author/tags/FrameProperties.h"
#include "host/author/tags/KnownFields.h"
#include "host/session/TagBlob.h"
#include "host/writers/TagNames.h"
#include "support/Rating.h"
#include "support/text/Ascii.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <algorithm>
#include <attachedpictureframe.h>
#include <functional>
#include <id3v1genres.h>
#include <id3v2framefactory.h>
#include <id3v2header.h>
#include <id3v2synchdata.h>
#include <id3v2tag.h>
#include <map>
#include <memory>
#include <popularimeterframe.h>
#include <textidentificationframe.h>
#include <urllinkframe.h>

namespace aiff::host
{
namespace
{

using id3parser::WireFrame;
using TagLib::ByteVector;
using TagLib::PropertyMap;
using TagLib::String;
namespace ID3v2 = TagLib::ID3v2;

using Texts = std::vector<std::string>;

// What the frames hold that other formats have no place for.
constexpr std::pair<const char*, const char*> kFrameMeanings[] = {
    {"AENC", "encryption"},
    {"APIC", "a picture without data"},
    {"CHAP", "chapters"},
    {"CTOC", "table of chapters"},
    {"EQU2", "equalisation"},
    {"EQUA", "equalisation"},
    {"ETCO", "event times"},
    {"GEOB", "attached files"},
    {"LINK", "links"},
    {"MCDI", "contents of the CD"},
    {"OWNE", "purchase"},
    {"PCNT", "play counter"},
    {"PRIV", "other programs' data"},
    {"RVA2", "volume adjustment"},
    {"RVAD", "volume adjustment"},
    {"SYLT", "timed lyrics"},
    {"SYTC", "timed tempo"},
    {"TDAT", "day and month"},
    {"TIME", "time of day"},
    {"UFID", "identifier"},
    {"USER", "terms of use"},
};

std::string Described(const std::string& id)
{
    for (const auto& [known, meaning] : kFrameMeanings)
        if (id == known)
            return std::string(meaning) + " (" + known + ")";
    return id;
}

// A time is set off from its day by a blank outside ID3v2.
std::string DateText(std::string text)
{
    if (text.size() > kTimeOfDate && text[kTimeOfDate] == 'T')
        text[kTimeOfDate] = ' ';
    return text;
}

bool IsFourDigits(const std::string& text)
{
    constexpr size_t kDigits = 4;
    return text.size() == kDigits && std::ranges::all_of(text, IsAsciiDigit<char>);
}

// The genres in a text such as "(17)(RX)Own words", where "((" stands for a bracket.
Texts Genres(std::string text)
{
    Texts genres;
    const auto add = [&genres](const std::string& entry, const std::string& otherwise) {
        const bool isNumber = !entry.empty() && std::ranges::all_of(entry, IsAsciiDigit<char>);
        const String name = isNumber ? TagLib::ID3v1::genre(String(entry).toInt()) : String();
        std::string genre = entry == "RX" ? "Remix" : entry == "CR" ? "Cover" : Utf8Of(name);
        genre = genre.empty() ? otherwise : genre;
        if (genres.empty() || genres.back() != genre) // the number may be spelt out after it
            genres.push_back(std::move(genre));
    };
    while (text.starts_with('(') && !text.starts_with("((")) {
        const size_t end = text.find(')');
        if (end == std::string::npos)
            break;
        add(text.substr(1, end - 1), text.substr(0, end + 1));
        text.erase(0, end + 1);
    }
    if (!text.empty())
        add(text, text.starts_with("((") ? text.substr(1) : text);
    return genres;
}

Texts SplitAtSlashes(const std::string& text)
{
    Texts values;
    size_t start = 0;
    for (size_t end = 0; end != std::string::npos; start = end + 1) {
        end = text.find('/', start);
        values.push_back(text.substr(start, end - start));
    }
    return values;
}

String InvolvedProperty(const std::string& role)
{
    for (const InvolvedRole& known : InvolvedRoles())
        if (TagText(known.role).upper() == TagText(role).upper())
            return TagText(known.property);
    return TagText(kInvolvedPrefix) + TagText(role);
}

class ContentReader
{
public:
    explicit ContentReader(TagContent& content) : m_content(content) {}

    void Take(const WireFrame& wire);
    void AddOldDate();

private:
    void Add(const std::string& id, const String& property, const Texts& texts);
    void AddText(const std::string& id, const WireFrame& wire, Texts texts);
    String UserTextName(const std::string& description);
    void AddPairs(const std::string& id, std::string_view plain, const Texts& texts,
                  const std::function<String(const std::string&)>& property);
    void AddWithLanguage(const std::string& id, const std::string& base,
                         std::span<const uint8_t> body);
    void AddUrl(const std::string& id, std::span<const uint8_t> body);
    void AddOther(const std::string& id, const ByteVector& body);
    void AddPicture(const ID3v2::AttachedPictureFrame& frame);
    void AddRating(const ID3v2::PopularimeterFrame& frame);
    void LeaveOut(const std::string& id) { m_content.leftOut.insert(Described(id)); }

    TagContent& m_content;
    std::map<std::string, std::string> m_oldDate; // by frame: TYER, TDAT, TIME
};

void ContentReader::Take(const WireFrame& wire)
{
    constexpr uint8_t kLastEncoding = id3parser::kEncodingUTF8;
    const std::string id = FrameName(wire);
    const std::optional<ByteVector> bytes = FrameBody(wire);
    const auto isSound = [](char c) { return IsAsciiUpper(c) || IsAsciiDigit(c); };
    // TagLib trusts identifiers.
    if (!bytes || bytes->isEmpty() || wire.id == 0 || !std::ranges::all_of(id, isSound))
        return LeaveOut(id);
    const std::span body(reinterpret_cast<const uint8_t*>(bytes->data()), bytes->size());
    const bool isOddText = id == "IPLS" || id == "MVNM" || id == "MVIN" || id == "GRP1" ||
                           (id == "WFED" && body[0] <= kLastEncoding);
    if (id == "COMM")
        AddWithLanguage(id, "COMMENT", body);
    else if (id == "USLT")
        AddWithLanguage(id, "LYRICS", body);
    else if (id[0] == 'W' && !isOddText)
        AddUrl(id, body);
    else if (id[0] != 'T' && !isOddText)
        AddOther(id, *bytes);
    else if (body[0] <= kLastEncoding)
        AddText(id, wire, FrameTexts(body[0], body.subspan(1)).Rest());
    else
        LeaveOut(id);
}

// Empty texts are nothing that could be lost.
void ContentReader::Add(const std::string& id, const String& property, const Texts& texts)
{
    for (const std::string& text : texts)
        if (!text.empty() && (property.isEmpty() || !m_content.Add(property, TagText(text))))
            LeaveOut(id);
}

// Programs know some descriptions in any case. That of others gets lost.
String ContentReader::UserTextName(const std::string& description)
{
    const String name = PropertyOfUserText(description);
    const String own = TagText(description);
    const KnownField* const known = FindKnownField(description);
    const bool isKnown = known != nullptr && known->name == description;
    if (name == own.upper() && name != own && !isKnown)
        m_content.recased.insert("\"" + description + "\"");
    return name;
}

void ContentReader::AddText(const std::string& id, const WireFrame& wire, Texts texts)
{
    if (id == "TIPL" || id == "IPLS")
        return AddPairs(id, kInvolvedPeople, texts, InvolvedProperty);
    if (id == "TMCL")
        return AddPairs(id, kMusicianCredits, texts, [](const std::string& instrument) {
            return TagText(kPerformerPrefix) + TagText(instrument);
        });
    if ((id == "TYER" || id == "TDAT" || id == "TIME") && texts.size() == 1) {
        if (!m_oldDate.emplace(id, texts.front()).second)
            LeaveOut(id);
        return;
    }
    String name;
    if (id == "TXXX") {
        texts.resize(std::max<size_t>(texts.size(), 1));
        name = UserTextName(texts.front());
        texts.erase(texts.begin());
    } else {
        name = PropertyOfText(id);
    }
    const auto* const rule = id3parser::RuleForFrame(wire.id);
    const bool mayBeJoined = rule != nullptr && rule->read == id3parser::ReadRule::MultiValue &&
                             wire.revision < id3parser::kRevision4 && texts.size() == 1;
    if (mayBeJoined && texts.front().find('/') != std::string::npos &&
        texts.front().find_first_not_of('/') != std::string::npos) {
        m_content.joined.insert(name);
        texts = SplitAtSlashes(texts.front());
    }
    for (const std::string& text : texts)
        Add(id, name, id == "TCON" ? Genres(text) : Texts{name == "DATE" ? DateText(text) : text});
}

void ContentReader::AddPairs(const std::string& id, std::string_view plain, const Texts& texts,
                             const std::function<String(const std::string&)>& property)
{
    if (texts.size() % 2 != 0)
        return Add(id, TagText(plain), texts);
    for (size_t i = 0; i < texts.size(); i += 2) {
        if (texts[i + 1].empty() && !texts[i].empty())
            m_content.leftOut.insert("the role \"" + texts[i] + "\" without a name");
        Add(id, property(texts[i]), {texts[i + 1]});
    }
}

void ContentReader::AddWithLanguage(const std::string& id, const std::string& base,
                                    std::span<const uint8_t> body)
{
    constexpr size_t kTextStart = 4; // after the encoding and the language
    if (body.size() < kTextStart || body[0] > id3parser::kEncodingUTF8)
        return LeaveOut(id);
    const std::string language(body.begin() + 1, body.begin() + kTextStart);
    FrameTexts texts(body[0], body.subspan(kTextStart));
    const std::string description = texts.Next();
    const Texts values = texts.Rest();
    if (std::ranges::all_of(values, &std::string::empty))
        return description.empty() ? void() : LeaveOut(id);
    Add(id, PropertyWithDescription(base, description), values);
    const bool isKnown = !EqualNoCase(language, "und") && !EqualNoCase(language, "xxx");
    if (isKnown && std::ranges::all_of(language, IsAsciiLetter<char>))
        m_content.leftOut.insert("the language \"" + language + "\" of " + base);
}

// What follows a zero does not count. URLs are ISO 8859-1.
void ContentReader::AddUrl(const std::string& id, std::span<const uint8_t> body)
{
    String name;
    if (id == "WXXX") {
        FrameTexts texts(body[0], body.subspan(1));
        if (!texts.IsKnown())
            return LeaveOut(id);
        name = PropertyWithDescription("URL", texts.Next());
        body = texts.Left();
    } else {
        name = PropertyOfUrl(id);
    }
    if (name.isEmpty())
        return LeaveOut(id);
    Add(id, name, {id3parser::importURL(body)});
}

void ContentReader::AddPicture(const ID3v2::AttachedPictureFrame& frame)
{
    const ByteVector& data = frame.picture();
    if (data.isEmpty())
        return LeaveOut("APIC");
    const auto* const bytes = reinterpret_cast<const uint8_t*>(data.data());
    const bool isUnknown = frame.mimeType() == "image/x-unknown"; // as in ID3v2.2
    const std::string found = isUnknown ? PictureType({bytes, data.size()}) : "";
    m_content.pictures.push_back({static_cast<uint8_t>(frame.type()),
                                  found.empty() ? frame.mimeType() : String(found),
                                  frame.description(), data});
}

// The byte 0 means that there is no rating.
void ContentReader::AddRating(const ID3v2::PopularimeterFrame& frame)
{
    const auto* const rating = std::ranges::lower_bound(POPM10_Table, frame.rating());
    if (frame.rating() != 0)
        m_content.Add(TagText(kRatingProperty),
                      String::number(static_cast<int>(rating - std::begin(POPM10_Table))));
    if (frame.rating() != *rating)
        m_content.leftOut.insert("the exact rating (POPM)");
    if (frame.rating() != 0 && frame.email() != TagText(POPM_User) && !frame.email().isEmpty())
        m_content.leftOut.insert("whose rating it is (POPM)");
    if (frame.counter() != 0)
        m_content.leftOut.insert("the play counter of the rating (POPM)");
}

void ContentReader::AddOther(const std::string& id, const ByteVector& body)
{
    const ID3v2::Header header; // of ID3v2.4
    const ByteVector bytes = ByteVector(id.c_str()) + ID3v2::SynchData::fromUInt(body.size()) +
                             ByteVector(2, '\0') + body;
    const std::unique_ptr<ID3v2::Frame> frame(
        ID3v2::FrameFactory::instance()->createFrame(bytes, &header));
    if (frame == nullptr)
        return LeaveOut(id);
    if (const auto* picture = dynamic_cast<const ID3v2::AttachedPictureFrame*>(frame.get()))
        return AddPicture(*picture);
    if (const auto* rating = dynamic_cast<const ID3v2::PopularimeterFrame*>(frame.get()))
        return AddRating(*rating);
    PropertyMap properties = PropertiesOf(*frame);
    if (id == "PCST") // a podcast: has no value
        properties.replace("PODCAST", String("1"));
    if (properties.isEmpty())
        LeaveOut(id);
    for (const auto& [property, values] : properties)
        if (!m_content.Add(property, values))
            LeaveOut(id);
}

// Below ID3v2.4 a date is in up to three frames.
void ContentReader::AddOldDate()
{
    std::string date = m_oldDate["TYER"];
    const std::string day = m_oldDate["TDAT"];
    const std::string time = m_oldDate["TIME"];
    const bool hasDay = IsFourDigits(date) && IsFourDigits(day);
    if (hasDay)
        date += "-" + day.substr(2) + "-" + day.substr(0, 2);
    else if (!day.empty())
        LeaveOut("TDAT");
    if (hasDay && IsFourDigits(time))
        date += " " + time.substr(0, 2) + ":" + time.substr(2);
    else if (!time.empty())
        LeaveOut("TIME");
    const auto known = m_content.texts.find("DATE");
    if (known == m_content.texts.end() || !known->second.front().startsWith(TagText(date)))
        Add("TYER", "DATE", {date});
}

} // namespace

TagContent ReadId3(std::span<const uint8_t> bytes)
{
    TagContent content;
    const id3parser::WireTag tag = id3parser::ReadWireTag(bytes);
    content.isDamaged =
        !bytes.empty() && !tag.parses && tag.sizes == id3parser::FrameSizes::OfRevision;
    ContentReader reader(content);
    for (const WireFrame& frame : tag.frames)
        reader.Take(frame);
    reader.AddOldDate();
    return content;
}

} // namespace aiff::host
