// t_frame: reading text and URLs.
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/Tag.h"

#include <algorithm>

namespace id3parser
{

namespace
{

// The bytes after the encoding byte and the language.
std::span<const uint8_t> TextOf(const t_frame& frame)
{
    const size_t offset = 1 + get_byteskip(frame.id);
    if (frame.data.get_size() < offset)
        throw parseError();
    return frame.data.view().subspan(offset);
}

} // namespace

size_t get_byteskip(uint32_t id)
{
    return id == kFrameCOMM || id == kFrameUSLT ? 3 : 0;
}

size_t t_frame::GetStringCount() const
{
    const auto text = TextOf(*this);
    if (UnitSize(data.get_ptr()[0]) == 1)
        return GetStringCount_Helper(text);
    return GetStringCount_Helper(UnitView(text));
}

void t_frame::EnumString(bool strict, std::string& out, size_t index, t_frameWalk& walk) const
{
    const auto text = TextOf(*this);
    const uint8_t encoding = data.get_ptr()[0];
    const size_t position = UnitSize(encoding) == 1 ? skipToIndex(text, index, walk)
                                                    : 2 * skipToIndex(UnitView(text), index, walk);
    importString(out, encoding, text.subspan(position), strict);
}

void t_frame::GetAsString(bool strict, std::string& out, size_t index) const
{
    t_frameWalk walk;
    EnumString(strict, out, index, walk);
}

void t_frame::GetAsURL(std::string& out) const
{
    if (data.get_size() == 0)
        throw parseError();
    out += importURL(data.view());
}

// The URL is ISO-8859-1 whatever the encoding of the description.
void t_frame::GetAsWXXX(bool, std::string& out) const
{
    if (data.get_size() == 0)
        throw parseError();
    const auto body = data.view();
    const size_t width = UnitSize(body[0]);
    for (size_t at = 1; at + width <= body.size(); at += width) {
        if (std::ranges::any_of(body.subspan(at, width), [](uint8_t byte) { return byte != 0; }))
            continue;
        out = importURL(body.subspan(at + width));
        return;
    }
    throw parseError();
}

} // namespace id3parser
