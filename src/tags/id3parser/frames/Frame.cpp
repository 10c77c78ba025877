// SPDX-License-Identifier: MIT
#include "tags/id3parser/frames/Frame.h"

#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FramePicture.h"
#include "tags/id3parser/text/TextEncodings.h"

#include <algorithm>
#include <cstring>

namespace aiff::id3parser
{

namespace
{

constexpr char kLanguage[] = "eng";
constexpr size_t kLanguageSize = 3;

// The bytes after the encoding byte and the language.
std::span<const uint8_t> TextOf(const t_frame& frame)
{
    const size_t offset = 1 + get_byteskip(frame.id);
    if (frame.data.get_size() < offset)
        throw parseError();
    return frame.data.view().subspan(offset);
}

std::string_view UpToZero(std::string_view text)
{
    return text.substr(0, text.find('\0'));
}

// Appends one string with its terminator, in an encoding that can be written.
template <class Error>
void AppendString(t_byteVector& body, uint8_t encoding, std::string_view utf8)
{
    constexpr uint8_t kEnd = 0;
    if (encoding == kEncodingUTF8) {
        utf8 = UpToZero(utf8);
        body.append_fromptr(utf8.data(), utf8.size());
        body.append_fromptr(&kEnd, 1);
    } else if (encoding == kEncodingUTF16) {
        const std::u16string units = exportWide(utf8);
        body.append_fromptr(&kByteOrderMark, 2);
        body.append_fromptr(units.c_str(), 2 * (units.size() + 1));
    } else if (encoding == kEncodingISO) {
        const std::string text = exportISO(utf8);
        body.append_fromptr(text.c_str(), text.size() + 1);
    } else {
        throw Error();
    }
}

// Makes the body what comes before its first string.
void _prepareString(t_frame& frame, uint8_t encoding)
{
    frame.data.set_data_fromptr(&encoding, 1);
    if (get_byteskip(frame.id) != 0)
        frame.data.append_fromptr(kLanguage, kLanguageSize);
}

void _setPicture_writeString(t_byteVector& body, std::string_view text)
{
    constexpr uint8_t kEnd = 0;
    text = UpToZero(text);
    body.append_fromptr(text.data(), text.size());
    body.append_fromptr(&kEnd, 1);
}

} // namespace

size_t get_byteskip(uint32_t id)
{
    return id == kFrameCOMM || id == kFrameUSLT ? 3 : 0;
}

size_t t_frame::GetStringCount() const
{
    const auto text = TextOf(*this);
    if (UnitSize(data.view()[0]) == 1)
        return GetStringCount_Helper(text);
    return GetStringCount_Helper(UnitView(text));
}

// The bytes from the string with that index on.
std::span<const uint8_t> t_frame::TextFrom(size_t index, t_frameWalk& walk) const
{
    const auto text = TextOf(*this);
    const size_t position = UnitSize(data.view()[0]) == 1
                                ? skipToIndex(text, index, walk)
                                : 2 * skipToIndex(UnitView(text), index, walk);
    return text.subspan(position);
}

void t_frame::EnumString(bool strict, std::string& out, size_t index, t_frameWalk& walk) const
{
    const auto text = TextFrom(index, walk);
    importString(out, data.view()[0], text, strict);
}

void t_frame::EnumPieces(bool strict, size_t index, t_frameWalk& walk, char separator,
                         const TakePiece& take) const
{
    const auto text = TextFrom(index, walk);
    importPieces(data.view()[0], text, strict, separator, take);
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

void t_frame::SetAsString(std::string_view utf8, const tagCreateContext& context)
{
    _prepareString(*this, context.encoding);
    AppendString<writeError>(data, context.encoding, utf8);
}

void t_frame::AddString(std::string_view utf8)
{
    if (data.get_size() == 0)
        throw parseError();
    AppendString<parseError>(data, data.view()[0], utf8);
}

void t_frame::SetAsNumeric(std::string_view utf8)
{
    const std::string text = exportISO(utf8);
    const uint8_t encoding = kEncodingISO;
    data.set_data_fromptr(&encoding, 1);
    data.append_fromptr(text.c_str(), text.size() + 1);
}

void t_frame::SetAsURL(std::string_view utf8)
{
    const std::string url = exportURL(utf8);
    data.set_data_fromptr(url.data(), url.size());
}

void t_frame::SetAsURLEx(std::string_view description, std::string_view url,
                         const tagCreateContext& context)
{
    SetAsString(description, context);
    const std::string bytes = exportISO(url);
    data.append_fromptr(bytes.data(), bytes.size());
}

void t_frame::setPicture(uint8_t type, std::string_view mime, std::string_view description,
                         const uint8_t* bytes, size_t size)
{
    id = kFrameAPIC;
    const uint8_t encoding = kEncodingISO;
    data.set_data_fromptr(&encoding, 1);
    _setPicture_writeString(data, mime);
    data.append_fromptr(&type, 1);
    _setPicture_writeString(data, description);
    data.append_fromptr(bytes, size);
}

void t_frame::SanitizeForRevision(t_tagRevision revision)
{
    const size_t languageSize = get_byteskip(id);
    if (data.get_size() < 1 + languageSize)
        throw parseError();
    if (revision >= kRevision4)
        return;
    const uint8_t encoding = data.view()[0];
    if (encoding > kEncodingUTF8)
        throw parseError();
    if (encoding < kEncodingUTF16BE || revision < kRevision2)
        return;

    const size_t count = GetStringCount();
    if (count < 1)
        throw parseError();
    tagCreateContext context;
    context.encoding = kEncodingUTF16;
    context.revision = revision;
    t_frame rebuilt(id);
    t_frameWalk walk;
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        EnumString(false, text, i, walk);
        if (i == 0)
            rebuilt.SetAsString(text, context);
        else
            rebuilt.AddString(text);
    }
    if (rebuilt.data.get_size() < 1 + languageSize)
        throw parseError();
    if (languageSize != 0)
        std::memcpy(rebuilt.data.get_ptr() + 1, data.get_ptr() + 1, languageSize);
    *this = std::move(rebuilt);
}

} // namespace aiff::id3parser
