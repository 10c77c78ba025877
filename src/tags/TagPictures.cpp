// SPDX-License-Identifier: MIT
#include "tags/TagPictures.h"

#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FramePicture.h"
#include "tags/id3parser/text/CodePages.h"
#include "tags/id3parser/text/TextEncodings.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <set>

namespace aiff
{

using id3parser::OutFrame;
using id3parser::WireFrame;

namespace
{

constexpr std::wstring_view kUndefined = L"_Undefined";

// The part of an item's name that tells a picture type; types without a name share one.
XStr ElementDescription(int type)
{
    const XStr description = NTag::AlbumArtAPICPicTypeToElementDescription(type);
    return description.empty() ? XStr(kUndefined) : description;
}

Picture PictureOf(const STInternalTag& item)
{
    XStr description, subDescription;
    NTag::SpiltAlbumArtDesctiptionLine(item.name, description, subDescription);
    return {GetPictureType(description), id3parser::conv::TextToUtf8(subDescription), item.data};
}

// As the tag blob shows it.
XStr SubDescription(const Picture& picture)
{
    return NTag::AsInBlob(id3parser::conv::Utf8ToText(picture.description));
}

// Whether the tag blob shows both alike: then no new frame is needed.
bool LookAlike(const Picture& a, const Picture& b)
{
    return ElementDescription(a.type) == ElementDescription(b.type) &&
           std::ranges::equal(a.data, b.data) && SubDescription(a) == SubDescription(b);
}

size_t HashOf(const Picture& picture)
{
    const std::string_view bytes(reinterpret_cast<const char*>(picture.data.data()),
                                 picture.data.size());
    return std::hash<XStr>()(ElementDescription(picture.type) + SubDescription(picture)) ^
           std::hash<std::string_view>()(bytes);
}

// What comes before the picture's bytes. A description beyond ASCII needs an encoding that
// everybody reads the same way.
std::vector<uint8_t> FrameHead(const Picture& picture)
{
    const std::string mime = DetectPictureMimeType(picture.data);
    id3parser::t_frame frame(id3parser::kFrameAPIC);
    const bool ascii = std::ranges::all_of(picture.description,
                                           [](char c) { return static_cast<uint8_t>(c) < 0x80; });
    if (ascii) {
        frame.setPicture(picture.type, mime, picture.description, nullptr, 0);
    } else {
        id3parser::tagCreateContext context;
        context.encoding = id3parser::kEncodingUTF16;
        id3parser::t_frame encoded;
        encoded.SetAsString(picture.description, context);
        const auto body = encoded.data.view();
        frame.data.append_fromptr(body.data(), 1);
        frame.data.append_fromptr(mime.c_str(), mime.size() + 1);
        frame.data.append_fromptr(&picture.type, 1);
        frame.data.append_fromptr(body.data() + 1, body.size() - 1);
    }
    const auto head = frame.data.view();
    return {head.begin(), head.end()};
}

} // namespace

std::optional<Picture> PictureOf(const WireFrame& wire, id3parser::t_frame& scratch)
{
    if (wire.id != id3parser::kFrameAPIC || wire.reading != id3parser::FrameReading::Shown)
        return std::nullopt;
    try {
        const std::span<const uint8_t> body = ShownBody(wire, scratch);
        const id3parser::PictureView view = id3parser::extractAPIC(body);
        return Picture{view.type, id3parser::extractAPIC_desc(body), view.data};
    } catch (const id3parser::parseError&) {
        return std::nullopt;
    }
}

XStr PictureItemName(const Picture& picture, size_t number)
{
    XStr name(kAlbumArtPrefix);
    name.append(std::to_wstring(number)).append(ElementDescription(picture.type));
    if (!picture.description.empty())
        name.append(kSubDescriptionMark).append(id3parser::conv::Utf8ToText(picture.description));
    return name;
}

bool IsAlbumArt(const STInternalTag& item)
{
    return BeginsNoCase(item.name, kAlbumArtPrefix);
}

uint8_t GetPictureType(const XStr& description)
{
    if (description.empty() || EqualNoCase(description, kUndefined.substr(1)))
        return 0;
    return static_cast<uint8_t>(NTag::AlbumArtDescriptionToAPICPicType(description));
}

std::string DetectPictureMimeType(std::span<const uint8_t> data)
{
    constexpr std::array<uint8_t, 3> kPng = {'P', 'N', 'G'};
    if (data.size() < 8)
        return {};
    return std::ranges::equal(data.subspan(1, 3), kPng) ? "image/png" : "image/jpeg";
}

NewPictures::NewPictures(const id3parser::CarriedFrames& old,
                         const std::vector<const STInternalTag*>& items, TagTask task)
    : m_old(old)
{
    std::set<XStr> elements;
    for (const STInternalTag* item : items)
        elements.insert(ElementDescription(PictureOf(*item).type));
    std::multimap<size_t, const WireFrame*> replaced; // by a hash, equal ones in their order
    id3parser::t_frame scratch;
    for (const WireFrame& wire : old.Frames()) {
        if (wire.id != id3parser::kFrameAPIC)
            continue;
        const std::optional<Picture> picture = PictureOf(wire, scratch);
        if (!picture.has_value() || !elements.contains(ElementDescription(picture->type)))
            Add({&wire, nullptr}, picture.has_value() ? picture->type : uint8_t{0});
        else if (task == TagTask::Set)
            replaced.emplace(HashOf(*picture), &wire);
    }
    for (const STInternalTag* item : items) {
        const Picture picture = PictureOf(*item);
        if (task == TagTask::Remove || picture.data.empty())
            continue;
        auto [found, end] = replaced.equal_range(HashOf(picture));
        while (found != end && !LookAlike(*PictureOf(*found->second, scratch), picture))
            ++found;
        if (found == end) {
            Add({nullptr, item}, picture.type);
        } else {
            Add({found->second, nullptr}, picture.type);
            replaced.erase(found);
        }
    }
}

void NewPictures::Add(const Source& source, uint8_t type)
{
    constexpr uint8_t kFrontCover = 3;
    (type == kFrontCover ? m_fronts : m_others).push_back(source);
}

void NewPictures::Emit(const id3parser::FrameSink& sink) const
{
    for (const auto* sources : {&m_fronts, &m_others})
        for (const Source& source : *sources) {
            if (source.old != nullptr) {
                m_old.Emit(*source.old, sink);
                continue;
            }
            const Picture picture = PictureOf(*source.item);
            const std::vector<uint8_t> head = FrameHead(picture);
            OutFrame frame;
            frame.id = id3parser::kFrameAPIC;
            frame.head = head;
            frame.body = picture.data;
            sink(frame);
        }
}

} // namespace aiff
