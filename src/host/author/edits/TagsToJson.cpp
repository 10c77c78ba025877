// SPDX-License-Identifier: MIT
#include "host/author/edits/TagsToJson.h"

#include "host/author/edits/Base64.h"
#include "host/author/tags/FrameBody.h"
#include "host/author/tags/KnownFields.h"
#include "host/session/TagText.h"
#include "host/writers/PictureKinds.h"
#include "support/text/XStr.h"
#include "tags/TagPictures.h"
#include "tags/id3parser/fields/FieldIndex.h"

#include <algorithm>
#include <map>
#include <set>

namespace aiff::host
{
namespace
{

using id3parser::FieldIndex;
using id3parser::WireFrame;

// What the frames of the tags of a file say besides the items.
class FrameDetails
{
public:
    FrameDetails(const FileTags& tags, FrameData data) : m_tags(tags), m_data(data)
    {
        for (const std::vector<uint8_t>& tag : tags.id3v2)
            Read(tag);
    }

    void AddTo(Json& entry, const TagItem& item);
    Json TakeFrames() { return std::move(m_frames); }

private:
    void Read(std::span<const uint8_t> tag);
    Json ReadField(const id3parser::WireTag& tag, FieldIndex::Group group) const;
    void ReadPicture(const WireFrame& wire);
    void AddFrame(const WireFrame& wire);

    // Whether an item stands for a frame that no decoder shows.
    bool IsItem(const WireFrame& wire)
    {
        const std::string name = FieldOfFrame(FrameName(wire));
        if (name.empty() || !m_seen.insert(name).second) // the first frame of a kind counts
            return false;
        const TagItem* const item = FindItem(m_tags.items, name);
        return item != nullptr && item->value == JoinedItem(TextsOf(wire));
    }

    const FileTags& m_tags;
    std::set<std::string> m_seen;
    FrameData m_data;
    std::map<std::wstring, Json> m_fields; // by the names without case
    std::map<std::wstring, Json> m_pictures;
    Json m_frames = Json::array();
};

void AddTextDetails(const WireFrame& wire, std::span<const uint8_t> body, Json& details)
{
    constexpr size_t kTextStart = 4; // after the encoding and the language
    if (body.size() < kTextStart)
        return;
    FrameTexts texts(body[0], body.subspan(kTextStart));
    const std::string description = texts.Next();
    details["values"].push_back(texts.Next());
    std::string language;
    id3parser::importString(language, id3parser::kEncodingISO, body.subspan(1, kTextStart - 1),
                            false);
    details["languages"].push_back(language);
    if (wire.id == id3parser::kFrameUSLT) // of a comment, it is in the name
        details["descriptions"].push_back(description);
}

void AddRatingDetails(std::span<const uint8_t> body, Json& details)
{
    FrameTexts email(id3parser::kEncodingISO, body);
    Json rating = {{"email", email.Next()}};
    const auto numbers = email.Left();
    if (numbers.empty())
        return;
    rating["byte"] = numbers.front();
    rating["count"] = nullptr;
    uint64_t count = 0;
    for (const uint8_t byte : numbers.subspan(1))
        count = count << 8 | byte;
    if (numbers.size() > 1)
        rating["count"] = count;
    details["ratings"].push_back(std::move(rating));
}

Json FrameDetails::ReadField(const id3parser::WireTag& tag, FieldIndex::Group group) const
{
    Json details = Json::object();
    for (const id3parser::FieldEntry& entry : group) {
        const WireFrame& wire = tag.frames[entry.frame];
        const auto body = FrameBody(wire);
        if (!body)
            continue;
        if (wire.id == id3parser::kFrameCOMM || wire.id == id3parser::kFrameUSLT)
            AddTextDetails(wire, BytesOf(*body), details);
        else if (wire.id == id3parser::kFramePOPM)
            AddRatingDetails(BytesOf(*body), details);
    }
    return details;
}

void FrameDetails::ReadPicture(const WireFrame& wire)
{
    id3parser::t_frame scratch;
    const std::optional<Picture> picture = PictureOf(wire, scratch);
    if (!picture)
        return AddFrame(wire);
    id3parser::t_frame frame;
    Json details = {{"number", picture->type},
                    {"mimeType", ReadFrame(wire, frame) ? frame.getPictureMime() : ""}};
    if (m_data == FrameData::Included)
        details["data"] = ToBase64(picture->data);
    m_pictures.try_emplace(FoldCase(PictureItemName(*picture, m_pictures.size() + 1)),
                           std::move(details));
}

void FrameDetails::AddFrame(const WireFrame& wire)
{
    Json entry = {{"id", FrameName(wire)}, {"size", wire.size}};
    const auto body = FrameBody(wire);
    const bool isText = wire.id >> 24 == 'T' && wire.id != id3parser::kFrameTXXX;
    if (isText && body && !TextsOf(wire).empty())
        entry["values"] = TextsOf(wire);
    if (!body)
        entry["packed"] = true;
    else if (m_data == FrameData::Included)
        entry["data"] = ToBase64(BytesOf(*body));
    m_frames.push_back(std::move(entry));
}

void FrameDetails::Read(std::span<const uint8_t> bytes)
{
    const id3parser::WireTag tag = id3parser::ReadWireTag(bytes);
    const FieldIndex fields(tag.frames, FieldIndex::Of::Reading);
    std::set<size_t> named;
    fields.ForEachField([&](FieldIndex::Group group) {
        const std::wstring name = FoldCase(FromUtf8(std::string(group.front().Field())));
        if (!m_fields.try_emplace(name, ReadField(tag, group)).second)
            return; // an earlier tag shows the field
        for (const id3parser::FieldEntry& entry : group)
            if (ShowsValue(tag.frames[entry.frame]))
                named.insert(entry.frame);
    });
    for (size_t i = 0; i < tag.frames.size(); ++i) {
        if (tag.frames[i].id == id3parser::kFrameAPIC)
            ReadPicture(tag.frames[i]);
        else if (!named.contains(i) && !IsItem(tag.frames[i]))
            AddFrame(tag.frames[i]);
    }
}

void FrameDetails::AddTo(Json& entry, const TagItem& item)
{
    const auto& details = item.IsPicture() ? m_pictures : m_fields;
    const auto found = details.find(FoldCase(FromUtf8(item.name)));
    if (found == details.end())
        return;
    if (item.IsPicture())
        entry["picture"]["kind"] = PictureKindOfRole(item.PictureRole()).option;
    (item.IsPicture() ? entry["picture"] : entry).update(found->second);
}

} // namespace

Json TagsToJson(const FileTags& tags, FrameData data)
{
    FrameDetails details(tags, data);
    Json list = Json::array();
    for (const TagItem& item : tags.items) {
        Json entry = TagsJson({item}).front();
        details.AddTo(entry, item);
        list.push_back(std::move(entry));
    }
    return {{"tags", std::move(list)}, {"frames", details.TakeFrames()}};
}

} // namespace aiff::host
