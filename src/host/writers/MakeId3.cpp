// SPDX-License-Identifier: MIT
#include "host/writers/MakeId3.h"

#include "host/writers/TagNames.h"
#include "support/Rating.h"
#include "support/text/Ascii.h"

#include <algorithm>
#include <attachedpictureframe.h>
#include <id3v2frame.h>
#include <id3v2synchdata.h>
#include <memory>
#include <optional>
#include <popularimeterframe.h>
#include <textidentificationframe.h>
#include <uniquefileidentifierframe.h>
#include <unsynchronizedlyricsframe.h>
#include <urllinkframe.h>

namespace aiff::host
{
namespace
{

using TagLib::ByteVector;
using TagLib::PropertyMap;
using TagLib::String;
using TagLib::StringList;
namespace ID3v2 = TagLib::ID3v2;

// The size of a tag in its header has 28 bits.
constexpr unsigned kMostBody = (1U << 28) - 2;

// Gives the names to properties that frames are for. A name that is taken keeps both apart.
void ResolveAliases(PropertyMap& texts)
{
    for (const auto& [alias, property] : PropertyAliases()) {
        const String from = TagText(alias);
        if (!texts.contains(from) || texts.contains(TagText(property)))
            continue;
        texts.insert(TagText(property), texts[from]);
        texts.erase(from);
    }
}

// "3" and a total of "12" become "3/12"; a total that does not fit stays a property.
void JoinTotals(PropertyMap& texts)
{
    for (const NumberedProperty& names : NumberedProperties()) {
        const String number = TagText(names.number);
        for (const std::string_view name : names.totals) {
            const String total = TagText(name);
            if (!texts.contains(number) || !texts.contains(total))
                continue;
            StringList& numbers = texts[number];
            const StringList& totals = texts[total];
            if (numbers.size() != 1 || totals.size() != 1 || totals.front().find("/") >= 0)
                continue;
            const String end = "/" + totals.front();
            if (numbers.front().find("/") < 0)
                numbers.front() += end;
            const int split = numbers.front().find("/");
            if (numbers.front().substr(static_cast<unsigned>(split)) != end)
                continue;
            texts.erase(total);
        }
    }
}

// ID3v2 has a "T" between a day and a time.
void MarkTimes(PropertyMap& texts)
{
    const auto dates = texts.find("DATE");
    if (dates == texts.end())
        return;
    for (String& date : dates->second)
        if (date.size() > kTimeOfDate && date[kTimeOfDate] == L' ')
            date[kTimeOfDate] = L'T';
}

// Readers take other text in a frame for dates as none.
bool IsTimestamp(const String& text)
{
    constexpr unsigned kYearDigits = 4;
    const String marks = "-:T ";
    unsigned digits = 0;
    while (digits < text.size() && IsAsciiDigit(text[static_cast<int>(digits)]))
        ++digits;
    return digits >= kYearDigits && std::ranges::all_of(text, [&marks](wchar_t c) {
               return IsAsciiDigit(c) || marks.find(String(c)) >= 0;
           });
}

// Whether all of the values keep their meaning in frames of this kind.
bool MayHold(const ByteVector& id, const StringList& values)
{
    constexpr const char* kDates[] = {"TDEN", "TDOR", "TDRC", "TDRL", "TDTG"};
    if (std::ranges::any_of(kDates, [&id](const char* date) { return id == date; }))
        return std::ranges::all_of(values, IsTimestamp);
    if (id == "UFID")
        return std::ranges::all_of(values, &String::isAscii);
    if (id == "PCST") // tells that this is a podcast, and no more
        return values == StringList("1");
    return id[0] != 'W' || std::ranges::all_of(values, &String::isLatin1);
}

wchar_t LowerCase(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c;
}

bool TakePrefix(const String& property, std::string_view prefix, String& rest)
{
    const String start = TagText(prefix);
    if (!property.startsWith(start) || property.size() == start.size())
        return false;
    rest = property.substr(start.size());
    std::ranges::transform(rest, rest.begin(), LowerCase); // as roles are in ID3v2
    return true;
}

bool TakeInvolvedRole(const String& property, String& role)
{
    for (const InvolvedRole& known : InvolvedRoles()) {
        if (property == TagText(known.property)) {
            role = TagText(known.role);
            return true;
        }
    }
    return TakePrefix(property, kInvolvedPrefix, role);
}

// TagLib knows the TXXX frames of MusicBrainz and AcoustID in upper case; their own programs
// look for "MusicBrainz Album Id".
String Capitalised(const String& name)
{
    String text;
    bool isFirst = true;
    for (const wchar_t c : name) {
        text += isFirst ? c : LowerCase(c);
        isFirst = c == L' ';
    }
    return text.startsWith("Musicbrainz") ? "MusicBrainz" + text.substr(11) : text;
}

std::unique_ptr<ID3v2::Frame> MakeFrame(const String& property, const StringList& values)
{
    std::unique_ptr<ID3v2::Frame> frame(ID3v2::Frame::createTextualFrame(property, values));
    // TagLib repeats the property as the description of these.
    if (auto* lyrics = dynamic_cast<ID3v2::UnsynchronizedLyricsFrame*>(frame.get()))
        lyrics->setDescription(property == "LYRICS" ? String() : lyrics->description());
    if (auto* url = dynamic_cast<ID3v2::UserUrlLinkFrame*>(frame.get()))
        url->setDescription(property == "URL" ? String() : url->description());
    auto* user = dynamic_cast<ID3v2::UserTextIdentificationFrame*>(frame.get());
    if (user != nullptr && user->description() != property)
        user->setDescription(Capitalised(user->description()));
    for (const PropertyAlias& known : DescribedProperties())
        if (user != nullptr && property == TagText(known.property))
            user->setDescription(TagText(known.alias));
    return frame;
}

// A rating of one value from 0 to 10; nothing otherwise.
std::optional<int> Rating(const StringList& values)
{
    bool isNumber = false;
    const int rating = values.front().toInt(&isNumber);
    const bool isKnown = isNumber && rating >= 0 && rating < std::ssize(POPM10_Table);
    return values.size() == 1 && isKnown ? std::optional(rating) : std::nullopt;
}

// Frames one after the other, as they are in a tag.
class FrameBytes
{
public:
    void AddProperties(const PropertyMap& texts, RolesAs roles);
    void AddPicture(const TagPicture& picture);

    const ByteVector& Bytes() const { return m_bytes; }

private:
    void Add(const ID3v2::Frame& frame) { m_bytes.append(frame.render()); }
    void AddText(const char* id, const StringList& values);
    void AddUserText(const String& property, const StringList& values);
    void AddUrls(const char* id, const StringList& urls);
    void AddRating(int rating);
    void AddOther(const String& property, const StringList& values);

    ByteVector m_bytes;
};

void FrameBytes::AddText(const char* id, const StringList& values)
{
    ID3v2::TextIdentificationFrame frame(id, String::UTF8);
    frame.setText(values);
    if (!values.isEmpty())
        Add(frame);
}

void FrameBytes::AddUserText(const String& property, const StringList& values)
{
    if (!values.isEmpty())
        Add(ID3v2::UserTextIdentificationFrame(property, values, String::UTF8));
}

void FrameBytes::AddUrls(const char* id, const StringList& urls)
{
    for (const String& url : urls) {
        ID3v2::UrlLinkFrame frame(id);
        frame.setUrl(url);
        Add(frame);
    }
}

void FrameBytes::AddRating(int rating)
{
    ID3v2::PopularimeterFrame frame;
    frame.setEmail(TagText(POPM_User));
    frame.setRating(POPM10_Table[rating]);
    Add(frame);
}

// A frame that holds one value takes the first, and a TXXX frame the others, where a tag may not
// have several frames of that kind.
void FrameBytes::AddOther(const String& property, const StringList& values)
{
    const auto frame = MakeFrame(property, values.front());
    const ByteVector id = frame->frameID();
    if (!MayHold(id, values)) {
        AddUserText(property, values);
        return;
    }
    if (dynamic_cast<ID3v2::TextIdentificationFrame*>(frame.get()) != nullptr) {
        Add(*MakeFrame(property, values));
        return;
    }
    Add(*frame);
    StringList others = values;
    others.erase(others.begin());
    if (id != "COMM" && id != "WOAR") {
        AddUserText(property, others);
        return;
    }
    for (const String& value : others)
        Add(*MakeFrame(property, value));
}

void FrameBytes::AddProperties(const PropertyMap& texts, RolesAs roles)
{
    StringList involved;
    StringList musicians;
    for (const auto& [property, values] : texts) {
        String role;
        const bool isInvolved = roles == RolesAs::PeopleFrames && TakeInvolvedRole(property, role);
        if (values.isEmpty())
            continue;
        if (isInvolved || TakePrefix(property, kPerformerPrefix, role)) {
            for (const String& name : values)
                (isInvolved ? involved : musicians).append(role).append(name);
        } else if (property == TagText(kCommercialUrl) && MayHold("WCOM", values)) {
            AddUrls("WCOM", values);
        } else if (const auto rating = Rating(values);
                   rating && property == TagText(kRatingProperty)) {
            AddRating(*rating);
        } else {
            AddOther(property, values);
        }
    }
    AddText("TIPL", involved);
    AddText("TMCL", musicians);
}

void FrameBytes::AddPicture(const TagPicture& picture)
{
    ID3v2::AttachedPictureFrame frame;
    frame.setTextEncoding(String::UTF8);
    frame.setMimeType(picture.mimeType);
    frame.setType(static_cast<ID3v2::AttachedPictureFrame::Type>(picture.type));
    frame.setDescription(picture.description);
    frame.setPicture(picture.data);
    Add(frame);
}

} // namespace

void UseId3Forms(PropertyMap& texts)
{
    ResolveAliases(texts);
    MarkTimes(texts);
    JoinTotals(texts);
}

Result<std::vector<uint8_t>> MakeId3(TagContent content, RolesAs roles)
{
    UseId3Forms(content.texts);
    FrameBytes frames;
    frames.AddProperties(content.texts, roles);
    for (const TagPicture& picture : content.pictures)
        frames.AddPicture(picture);
    ByteVector body = frames.Bytes();
    if (body.size() > kMostBody)
        return Problem("has tags that are too large for an ID3v2 tag");
    std::vector<uint8_t> tag;
    if (body.isEmpty())
        return tag;
    if (body.size() % 2 != 0)
        body.append('\0');
    tag = {'I', 'D', '3', 4, 0, 0}; // version 2.4.0, no flags
    const ByteVector size = ID3v2::SynchData::fromUInt(body.size());
    tag.insert(tag.end(), size.begin(), size.end());
    tag.insert(tag.end(), body.begin(), body.end());
    return tag;
}

} // namespace aiff::host
