// t_frame: reading pictures. The body holds the encoding, the MIME type, the
// picture type, the description and the picture's bytes.
#include "tags/id3parser/frames/FramePicture.h"
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/Tag.h"
#include "tags/id3parser/text/TextEncodings.h"

namespace id3parser
{

namespace
{

using Guard = readGuard<uint8_t, parseError>;

constexpr uint8_t kLastPictureType = 20;

Guard GuardOf(std::span<const uint8_t> body)
{
    return Guard(body.data(), body.size());
}

// The position of the picture type.
size_t BehindMime(const Guard& bytes)
{
    size_t at = 1;
    while (bytes[at] != 0)
        ++at;
    return at + 1;
}

} // namespace

PictureView extractAPIC(std::span<const uint8_t> body)
{
    const Guard bytes = GuardOf(body);
    size_t at = BehindMime(bytes);
    PictureView picture;
    picture.type = bytes[at] > kLastPictureType ? uint8_t{0} : bytes[at];
    ++at;
    if (UnitSize(bytes[0]) == 1) {
        while (bytes[at] != 0)
            ++at;
        ++at;
    } else {
        while (bytes[at] != 0 || bytes[at + 1] != 0)
            at += 2;
        at += 2;
    }
    if (at >= bytes.size())
        throw parseError();
    picture.data = body.subspan(at);
    return picture;
}

std::string extractAPIC_mime(std::span<const uint8_t> body)
{
    const size_t end = BehindMime(GuardOf(body)) - 1;
    return {body.begin() + 1, body.begin() + static_cast<ptrdiff_t>(end)};
}

std::string extractAPIC_desc(std::span<const uint8_t> body)
{
    const Guard bytes = GuardOf(body);
    const size_t typeAt = BehindMime(bytes);
    static_cast<void>(bytes[typeAt]);
    std::string description;
    importString(description, bytes[0], body.subspan(typeAt + 1), false);
    return description;
}

void t_frame::getPicture(uint8_t& type, const uint8_t*& bytes, size_t& size) const
{
    if (!isPicture())
        throw parseError();
    const PictureView picture = extractAPIC(data.view());
    type = picture.type;
    bytes = picture.data.data();
    size = picture.data.size();
}

uint8_t t_frame::getPictureType() const
{
    try {
        return extractAPIC(data.view()).type;
    } catch (const parseError&) {
        return 0;
    }
}

std::string t_frame::getPictureMime() const
{
    return extractAPIC_mime(data.view());
}

std::string t_frame::getPictureDesc() const
{
    return extractAPIC_desc(data.view());
}

} // namespace id3parser
