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

using id3parser::t_frame;
using id3parser::t_tag;

namespace
{

constexpr std::wstring_view kUndefined = L"_Undefined";

// The part of an item's name that tells a picture type; types without a name share one.
XStr ElementDescription(int type)
{
    const XStr description = NTag::AlbumArtAPICPicTypeToElementDescription(type);
    return description.empty() ? XStr(kUndefined) : description;
}

// What an item or a frame says of its picture. Points into it.
struct Picture {
    uint8_t type = 0;
    XStr subDescription;
    std::span<const uint8_t> data;
};

Picture PictureOf(const STInternalTag& item)
{
    XStr description;
    Picture picture;
    NTag::SpiltAlbumArtDesctiptionLine(item.name, description, picture.subDescription);
    picture.type = GetPictureType(description);
    picture.data = item.data;
    return picture;
}

// None for a frame that is no picture or cannot be read.
std::optional<Picture> PictureOf(const t_frame& frame)
{
    if (!frame.isPicture())
        return std::nullopt;
    try {
        const id3parser::PictureView view = id3parser::extractAPIC(frame.data.view());
        return Picture{view.type, id3parser::conv::Utf8ToText(frame.getPictureDesc()), view.data};
    } catch (const id3parser::parseError&) {
        return std::nullopt;
    }
}

// A picture as the tag blob shows it: equal ones need no new frame.
struct ShownPicture {
    XStr element;
    XStr subDescription;
    std::span<const uint8_t> data;

    explicit ShownPicture(const Picture& picture)
        : element(ElementDescription(picture.type)),
          subDescription(NTag::AsInBlob(picture.subDescription)), data(picture.data)
    {
    }

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

// A description beyond ASCII needs an encoding that everybody reads the same way.
t_frame MakeFrame(const Picture& picture)
{
    const std::string mime = DetectPictureMimeType(picture.data);
    const std::string text = id3parser::conv::TextToUtf8(picture.subDescription);
    t_frame frame(id3parser::kFrameAPIC);
    const bool ascii =
        std::ranges::all_of(text, [](char c) { return static_cast<uint8_t>(c) < 0x80; });
    if (ascii) {
        frame.setPicture(picture.type, mime, text, picture.data.data(), picture.data.size());
        return frame;
    }
    id3parser::tagCreateContext context;
    context.encoding = id3parser::kEncodingUTF16;
    t_frame encoded;
    encoded.SetAsString(text, context);
    const auto body = encoded.data.view();
    frame.data.append_fromptr(body.data(), 1);
    frame.data.append_fromptr(mime.c_str(), mime.size() + 1);
    frame.data.append_fromptr(&picture.type, 1);
    frame.data.append_fromptr(body.data() + 1, body.size() - 1);
    frame.data.append_fromptr(picture.data.data(), picture.data.size());
    return frame;
}

// The pictures of some types, out of a tag.
class TakenPictures
{
public:
    TakenPictures(t_tag& tag, const std::set<XStr>& elements)
    {
        for (auto next = tag.Frames().begin(); next != tag.Frames().end();) {
            const auto frame = next++;
            const std::optional<Picture> picture = PictureOf(*frame);
            if (!picture.has_value())
                continue;
            ShownPicture shown(*picture);
            if (!elements.contains(shown.element))
                continue;
            m_frames.splice(m_frames.end(), tag.Frames(), frame);
            const size_t hash = shown.Hash();
            m_byHash.emplace(hash, Entry{std::move(shown), frame});
        }
    }

    // Moves the first frame that shows `wanted` to the end of `out`, if there is one left.
    void MoveFrame(const ShownPicture& wanted, t_tag::FrameList& out)
    {
        auto [entry, end] = m_byHash.equal_range(wanted.Hash());
        entry = std::find_if(entry, end, [&](const auto& e) { return e.second.shown == wanted; });
        if (entry == end)
            return;
        out.splice(out.end(), m_frames, entry->second.frame);
        m_byHash.erase(entry);
    }

    void Clear()
    {
        m_byHash.clear();
        m_frames.clear();
    }

private:
    struct Entry {
        ShownPicture shown;
        t_tag::FrameList::iterator frame;
    };

    t_tag::FrameList m_frames;
    std::multimap<size_t, Entry> m_byHash; // equal ones in their order
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
        const std::optional<Picture> picture = PictureOf(frame);
        if (!picture.has_value())
            continue;
        XStr name =
            XStr(kAlbumArtPrefix) + std::to_wstring(++count) + ElementDescription(picture->type);
        if (!picture->subDescription.empty())
            name.append(kSubDescriptionMark).append(picture->subDescription);
        // The picture is the end of the body.
        const auto offset = std::ssize(frame.data.view()) - std::ssize(picture->data);
        std::vector<uint8_t> bytes = frame.data.take();
        bytes.erase(bytes.begin(), bytes.begin() + offset);
        list.AddTag({std::move(name), {}, std::move(bytes)});
    }
}

void ApplyPictures(t_tag& tag, const std::vector<const STInternalTag*>& items, bool deleteMode)
{
    if (items.empty())
        return;
    std::vector<Picture> pictures;
    std::set<XStr> elements;
    for (const STInternalTag* item : items) {
        pictures.push_back(PictureOf(*item));
        elements.insert(ElementDescription(pictures.back().type));
    }
    TakenPictures present(tag, elements);
    if (deleteMode)
        return;

    // First what stays, so that the rest is gone before new pictures take memory.
    std::erase_if(pictures, [](const Picture& picture) { return picture.data.empty(); });
    std::vector<t_tag::FrameList> frames(pictures.size());
    for (size_t i = 0; i < pictures.size(); ++i)
        present.MoveFrame(ShownPicture(pictures[i]), frames[i]);
    present.Clear();
    for (size_t i = 0; i < pictures.size(); ++i) {
        if (frames[i].empty())
            frames[i].push_back(MakeFrame(pictures[i]));
        tag.Frames().splice(tag.Frames().end(), frames[i]);
    }
}

} // namespace aiff
