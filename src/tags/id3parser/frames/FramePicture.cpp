// SPDX-License-Identifier: MIT
#include "tags/id3parser/frames/FramePicture.h"

#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/text/TextEncodings.h"

namespace aiff::id3parser
{

namespace
{

using Guard = readGuard<uint8_t, parseError>;

constexpr uint8_t kLastPictureType = 20;

Guard GuardOf(std::span<const uint8_t> body)
{
    return Guard(body.data(), body.size());
}

// The position of the picture type, which follows the MIME type.
size_t PictureTypeAt(const Guard& bytes)
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
    size_t at = PictureTypeAt(bytes);
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
    const size_t end = PictureTypeAt(GuardOf(body)) - 1;
    return {body.begin() + 1, body.begin() + static_cast<ptrdiff_t>(end)};
}

std::string extractAPIC_desc(std::span<const uint8_t> body)
{
    const Guard bytes = GuardOf(body);
    const size_t typeAt = PictureTypeAt(bytes);
    static_cast<void>(bytes[typeAt]); // throws when the body ends before it
    std::string description;
    importString(description, bytes[0], body.subspan(typeAt + 1), false);
    return description;
}

} // namespace aiff::id3parser
