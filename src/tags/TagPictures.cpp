#include "tags/TagPictures.h"

#include "tags/TagFields.h"
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FramePicture.h"
#include "tags/id3parser/text/CodePages.h"
#include "tags/id3parser/text/TextEncodings.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <set>

using id3parser::t_frame;
using id3parser::t_tag;

namespace
{

constexpr std::wstring_view kUndefined = L"_Undefined";

// The part of an item's name that tells a picture type.
XStr ElementDescription(int type)
{
    const XStr description = NTag::AlbumArtAPICPicTypeToElementDescription(type);
    return description.empty() ? XStr(kUndefined) : description;
}

// A picture as an item shows it.
struct ShownPicture {
    XStr element;        // tells the type; types without a name share one
    XStr subDescription; // as the tag blob delivers it
    std::span<const uint8_t> data;

    size_t Hash() const
    {
        const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
        const size_t names = std::hash<XStr>()(element + subDescription);
        return names ^ std::hash<std::string_view>()(bytes);
    }
    bool operator==(const ShownPicture& other) const
    {
        return element == other.element && subDescription == other.subDescription &&
               std::ranges::equal(data, other.data);
    }
};

// False for a frame that cannot be read.
bool ReadPicture(const t_frame& frame, XStr& element, XStr& subDescription,
                 std::span<const uint8_t>& data)
{
    if (!frame.isPicture())
        return false;
    try {
        const id3parser::PictureView picture = id3parser::extractAPIC(frame.data.view());
        subDescription = id3parser::conv::Utf8ToText(frame.getPictureDesc());
        element = ElementDescription(picture.type);
        data = picture.data;
        return true;
    } catch (const id3parser::parseError&) {
        return false;
    }
}

bool ShowFrame(const t_frame& frame, ShownPicture& shown)
{
    if (!ReadPicture(frame, shown.element, shown.subDescription, shown.data))
        return false;
    shown.subDescription = AsInBlob(shown.subDescription);
    return true;
}

// Points into the item.
ShownPicture ShowItem(const STInternalTag& item)
{
    XStr description;
    ShownPicture shown;
    NTag::SpiltAlbumArtDesctiptionLine(item.name, description, shown.subDescription);
    shown.subDescription = AsInBlob(shown.subDescription);
    shown.element = ElementDescription(GetPictureType(description));
    shown.data = item.data;
    return shown;
}

// A description beyond ASCII needs an encoding that everybody reads the same way.
t_frame MakePicture(const STInternalTag& item)
{
    XStr description, subDescription;
    NTag::SpiltAlbumArtDesctiptionLine(item.name, description, subDescription);
    const uint8_t type = GetPictureType(description);
    const std::string mime = DetectPictureMimeType(item.data);
    const std::string text = id3parser::conv::TextToUtf8(subDescription);
    t_frame frame(id3parser::kFrameAPIC);
    const bool ascii =
        std::ranges::all_of(text, [](char c) { return static_cast<uint8_t>(c) < 0x80; });
    if (ascii) {
        frame.setPicture(type, mime, text, item.data.data(), item.data.size());
        return frame;
    }
    id3parser::tagCreateContext context;
    context.encoding = id3parser::kEncodingUTF16;
    t_frame encoded;
    encoded.SetAsString(text, context);
    const auto body = encoded.data.view();
    frame.data.append_fromptr(body.data(), 1);
    frame.data.append_fromptr(mime.c_str(), mime.size() + 1);
    frame.data.append_fromptr(&type, 1);
    frame.data.append_fromptr(body.data() + 1, body.size() - 1);
    frame.data.append_fromptr(item.data.data(), item.data.size());
    return frame;
}

// Moves the pictures of the named types out of the tag.
t_tag::FrameList TakePictures(t_tag& tag, const std::set<XStr>& elements)
{
    t_tag::FrameList taken;
    for (auto it = tag.Frames().begin(); it != tag.Frames().end();) {
        const auto frame = it++;
        ShownPicture shown;
        if (ShowFrame(*frame, shown) && elements.contains(shown.element))
            taken.splice(taken.end(), tag.Frames(), frame);
    }
    return taken;
}

// The frame that shows what an item shows, if there is one that no item has yet.
class PictureIndex
{
public:
    explicit PictureIndex(t_tag::FrameList& frames) : m_frames(frames)
    {
        for (auto frame = frames.begin(); frame != frames.end(); ++frame)
            if (ShownPicture shown; ShowFrame(*frame, shown))
                m_byHash.emplace(shown.Hash(), frame);
    }

    bool Take(const ShownPicture& wanted, t_tag::FrameList& out)
    {
        auto [entry, end] = m_byHash.equal_range(wanted.Hash());
        for (; entry != end; ++entry) {
            ShownPicture shown;
            if (!ShowFrame(*entry->second, shown) || shown != wanted)
                continue;
            out.splice(out.end(), m_frames, entry->second);
            m_byHash.erase(entry);
            return true;
        }
        return false;
    }

private:
    t_tag::FrameList& m_frames;
    std::multimap<size_t, t_tag::FrameList::iterator> m_byHash; // equal ones in their order
};

} // namespace

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

void AppendPicturesToList(t_tag& tag, NTag& list)
{
    size_t count = 0;
    for (t_frame& frame : tag.Frames()) {
        XStr element, subDescription;
        std::span<const uint8_t> data;
        if (!ReadPicture(frame, element, subDescription, data))
            continue;
        XStr name = XStr(kAlbumArtPrefix) + std::to_wstring(++count) + element;
        if (!subDescription.empty())
            name.append(kSubDescriptionMark).append(subDescription);
        list.AddTag(name, XStr());
        // The picture is the end of the body.
        const auto offset = static_cast<ptrdiff_t>(frame.data.get_size() - data.size());
        std::vector<uint8_t> bytes = frame.data.take();
        bytes.erase(bytes.begin(), bytes.begin() + offset);
        list[list.Count() - 1].data = std::move(bytes);
    }
}

void ApplyPictures(t_tag& tag, const std::vector<const STInternalTag*>& items, bool remove)
{
    if (items.empty())
        return;
    std::set<XStr> elements;
    for (const STInternalTag* item : items)
        elements.insert(ShowItem(*item).element);
    t_tag::FrameList present = TakePictures(tag, elements);
    if (remove)
        return;

    // First what stays, so that the rest is gone before new pictures take memory.
    struct Place {
        const STInternalTag* item;
        t_tag::FrameList frame;
    };
    std::vector<Place> places;
    PictureIndex index(present);
    for (const STInternalTag* item : items) {
        if (item->data.empty())
            continue;
        Place& place = places.emplace_back(Place{item, {}});
        index.Take(ShowItem(*item), place.frame);
    }
    present.clear();
    for (Place& place : places) {
        if (place.frame.empty())
            place.frame.push_back(MakePicture(*place.item));
        tag.Frames().splice(tag.Frames().end(), place.frame);
    }
}
