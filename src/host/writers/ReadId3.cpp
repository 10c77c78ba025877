// SPDX-License-Identifier: MIT
#include "host/writers/ReadId3.h"

#include "host/writers/TagNames.h"
#include "support/Rating.h"

#include <algorithm>
#include <attachedpictureframe.h>
#include <functional>
#include <id3v1genres.h>
#include <id3v2extendedheader.h>
#include <id3v2header.h>
#include <id3v2synchdata.h>
#include <id3v2tag.h>
#include <mpegfile.h>
#include <popularimeterframe.h>
#include <tbytevectorstream.h>
#include <textidentificationframe.h>

namespace aiff::host
{
namespace
{

using TagLib::ByteVector;
using TagLib::PropertyMap;
using TagLib::String;
using TagLib::StringList;
namespace ID3v2 = TagLib::ID3v2;

// Bytes of a text frame without text: the encoding and a zero, or with UTF-16 a byte order mark
// and a zero.
constexpr unsigned kEmptyText = 2;
constexpr unsigned kEmptyWideText = 5;
// The same of a comment or lyrics, with a language and a description of no characters.
constexpr unsigned kEmptyOtherFrame = 12;
// Zeros after two texts in UTF-16, which not every program writes.
constexpr unsigned kTwoEnds = 4;

std::string IdOf(const ID3v2::Frame& frame)
{
    const ByteVector id = frame.frameID();
    return {id.begin(), id.end()};
}

// TagLib tells properties of whole tags only.
PropertyMap PropertiesOf(ID3v2::Frame& frame)
{
    ID3v2::Tag tag;
    tag.addFrame(&frame);
    PropertyMap properties = tag.properties();
    tag.removeFrame(&frame, false); // stays its owner's
    return properties;
}

// A number is that of a genre of ID3v1, if there is one.
String GenreName(const String& text)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    const String name = isNumber ? TagLib::ID3v1::genre(number) : String();
    return name.isEmpty() ? text : name;
}

// A time is set off from its day by a blank outside ID3v2.
String DateText(String text)
{
    if (text.size() > kTimeOfDate && text[kTimeOfDate] == L'T')
        text[kTimeOfDate] = L' ';
    return text;
}

void AddPairs(const StringList& fields, std::string_view plain, TagContent& content,
              const std::function<String(const String&)>& property)
{
    if (fields.size() % 2 != 0) {
        content.Add(TagText(plain), fields);
        return;
    }
    for (auto field = fields.begin(); field != fields.end(); ++field) {
        const String role = *field;
        content.Add(property(role), *++field);
    }
}

String InvolvedProperty(const String& role)
{
    for (const InvolvedRole& known : InvolvedRoles())
        if (TagText(known.role).upper() == role.upper())
            return TagText(known.property);
    return TagText(kInvolvedPrefix) + role;
}

StringList Split(const StringList& texts, const JoinedValues& joined)
{
    StringList values;
    for (const String& text : texts) {
        const auto found = joined.find(Utf8Of(text));
        if (found == joined.end())
            values.append(text);
        else
            for (const std::string& value : found->second)
                values.append(TagText(value));
    }
    return values;
}

void AddText(ID3v2::TextIdentificationFrame& frame, const JoinedValues& joined, TagContent& content)
{
    const std::string id = IdOf(frame);
    StringList values = frame.fieldList();
    if (id == "TIPL")
        return AddPairs(values, kInvolvedPeople, content, InvolvedProperty);
    if (id == "TMCL")
        return AddPairs(values, kMusicianCredits, content, [](const String& instrument) {
            return TagText(kPerformerPrefix) + instrument;
        });
    if (id == "TXXX")
        values.erase(values.begin()); // the description
    values = Split(values, joined);
    const PropertyMap named = PropertiesOf(frame);
    String name = named.isEmpty() ? String() : named.begin()->first;
    if (name.isEmpty())
        name = id;
    for (String& value : values)
        value = name == "GENRE" ? GenreName(value) : name == "DATE" ? DateText(value) : value;
    const String::Type encoding = frame.textEncoding();
    const bool isText = encoding <= String::UTF8;
    const bool isWide = encoding != String::Latin1 && encoding != String::UTF8;
    const bool mayBeEmpty = id != "TXXX" && frame.size() <= (isWide ? kEmptyWideText : kEmptyText);
    if (!isText || (!content.Add(name, values) && !mayBeEmpty))
        content.leftOut.insert(id);
}

void AddPicture(const ID3v2::AttachedPictureFrame& frame, TagContent& content)
{
    const String mimeType = frame.mimeType();
    const bool isLink = mimeType == "image/-->"; // of ID3v2.2
    if (frame.picture().isEmpty())
        content.leftOut.insert(IdOf(frame));
    else
        content.pictures.push_back({static_cast<unsigned>(frame.type()),
                                    isLink ? String("-->") : mimeType, frame.description(),
                                    frame.picture()});
}

// The byte 0 means that there is no rating.
void AddRating(const ID3v2::PopularimeterFrame& frame, TagContent& content)
{
    const auto* const rating = std::ranges::lower_bound(POPM10_Table, frame.rating());
    if (frame.rating() != 0)
        content.Add(TagText(kRatingProperty),
                    String::number(static_cast<int>(rating - std::begin(POPM10_Table))));
    if (frame.counter() != 0)
        content.leftOut.insert("the counter of POPM");
}

void AddOther(ID3v2::Frame& frame, TagContent& content)
{
    const std::string id = IdOf(frame);
    const unsigned size = frame.size(); // rendering changes it
    PropertyMap properties = PropertiesOf(frame);
    if (id == "WCOM")
        properties.insert(TagText(kCommercialUrl), frame.toString());
    if (id == "PCST") // a podcast: has no value
        properties.replace("PODCAST", String("1"));
    bool isAdded = false;
    unsigned empty = kEmptyOtherFrame;
    for (const auto& [property, values] : properties) {
        isAdded = content.Add(property, values);
        empty += 2 * property.size(); // a description
    }
    if (properties.isEmpty() || (!isAdded && size > empty))
        content.leftOut.insert(id);
    else if (size + ID3v2::Frame::headerSize() > frame.render().size() + kTwoEnds)
        content.leftOut.insert("a second value of " + id); // TagLib stops at a zero
}

void AddFrame(ID3v2::Frame& frame, const JoinedValues& joined, TagContent& content)
{
    if (auto* text = dynamic_cast<ID3v2::TextIdentificationFrame*>(&frame))
        AddText(*text, joined, content);
    else if (auto* picture = dynamic_cast<ID3v2::AttachedPictureFrame*>(&frame))
        AddPicture(*picture, content);
    else if (auto* rating = dynamic_cast<ID3v2::PopularimeterFrame*>(&frame))
        AddRating(*rating, content);
    else
        AddOther(frame, content);
}

// Whether nothing but padding follows the frames. TagLib reads no further than the first frame
// that is damaged.
bool IsReadWhole(const ID3v2::Tag& tag, std::span<const uint8_t> bytes)
{
    const ID3v2::Header& header = *tag.header();
    const auto size = std::min<size_t>(header.tagSize(), bytes.size() - ID3v2::Header::size());
    ByteVector data(reinterpret_cast<const char*>(bytes.data()) + ID3v2::Header::size(),
                    static_cast<unsigned>(size));
    if (header.unsynchronisation() && header.majorVersion() <= 3)
        data = ID3v2::SynchData::decode(data);
    size_t end = tag.extendedHeader() == nullptr ? 0 : tag.extendedHeader()->size();
    for (const ID3v2::Frame* frame : tag.frameList())
        end += frame->size() + ID3v2::Frame::headerSize(header.majorVersion());
    const auto rest = data.begin() + static_cast<ptrdiff_t>(std::min<size_t>(end, data.size()));
    return std::all_of(rest, data.end(), [](char byte) { return byte == 0; });
}

// TagLib leaves frames of ID3v2.3 in the tag that it has made part of the date.
void DropMergedDates(TagContent& content)
{
    const auto date = content.texts.find("DATE");
    if (date == content.texts.end())
        return;
    if (date->second.front().size() >= kTimeOfDate)
        content.leftOut.erase("TDAT");
    if (date->second.front().size() > kTimeOfDate)
        content.leftOut.erase("TIME");
}

} // namespace

TagContent ReadId3(std::span<const uint8_t> bytes, const JoinedValues& joined)
{
    TagContent content;
    TagLib::ByteVectorStream stream(ByteVector(reinterpret_cast<const char*>(bytes.data()),
                                               static_cast<unsigned>(bytes.size())));
    TagLib::MPEG::File file(&stream, ID3v2::FrameFactory::instance(), false);
    const ID3v2::Tag* const tag = file.hasID3v2Tag() ? file.ID3v2Tag() : nullptr;
    // To be asked before any frame is rendered, which changes its size.
    const bool isWhole = tag == nullptr ? bytes.empty() : IsReadWhole(*tag, bytes);
    if (!isWhole)
        content.leftOut.insert("a part that cannot be read");
    if (tag == nullptr)
        return content;
    const JoinedValues none;
    const JoinedValues& used = tag->header()->majorVersion() <= 3 ? joined : none;
    for (ID3v2::Frame* frame : tag->frameList())
        AddFrame(*frame, used, content);
    DropMergedDates(content);
    return content;
}

} // namespace aiff::host
