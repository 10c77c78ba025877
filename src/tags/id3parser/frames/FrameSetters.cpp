// t_frame: building bodies from UTF-8 text.
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/Tag.h"
#include "tags/id3parser/text/TextEncodings.h"

#include <cstring>
#include <vector>

namespace id3parser
{

namespace
{

constexpr char kLanguage[] = "eng";
constexpr size_t kLanguageSize = 3;

std::string_view UpToZero(std::string_view text)
{
    return text.substr(0, text.find('\0'));
}

// One string with its terminator, in an encoding that can be written.
template <class Error>
std::vector<uint8_t> EncodeString(uint8_t encoding, std::string_view utf8)
{
    std::vector<uint8_t> bytes;
    const auto append = [&bytes](const void* data, size_t size) {
        const auto* first = static_cast<const uint8_t*>(data);
        bytes.insert(bytes.end(), first, first + size);
    };
    if (encoding == kEncodingUTF8) {
        append(utf8.data(), UpToZero(utf8).size());
        bytes.push_back(0);
    } else if (encoding == kEncodingUTF16) {
        const std::u16string units = exportWide(utf8);
        append(&kByteOrderMark, 2);
        append(units.c_str(), 2 * (units.size() + 1));
    } else if (encoding == kEncodingISO) {
        const std::string text = exportISO(utf8);
        append(text.c_str(), text.size() + 1);
    } else {
        throw Error();
    }
    return bytes;
}

// Sizes the body for a payload, writes what stands in front of it and returns
// where the payload goes.
uint8_t* _prepareString(t_frame& frame, uint8_t encoding, size_t payloadSize)
{
    const size_t offset = 1 + get_byteskip(frame.id);
    frame.data.set_size(offset + payloadSize);
    uint8_t* body = frame.data.get_ptr();
    body[0] = encoding;
    if (offset > 1)
        std::memcpy(body + 1, kLanguage, kLanguageSize);
    return body + offset;
}

void _setAsStringHelper(t_frame& frame, uint8_t encoding, std::span<const uint8_t> payload)
{
    std::memcpy(_prepareString(frame, encoding, payload.size()), payload.data(), payload.size());
}

void _setPicture_writeString(t_byteVector& body, std::string_view text)
{
    constexpr uint8_t kEnd = 0;
    text = UpToZero(text);
    body.append_fromptr(text.data(), text.size());
    body.append_fromptr(&kEnd, 1);
}

} // namespace

void t_frame::SetAsString(std::string_view utf8, const tagCreateContext& context)
{
    _setAsStringHelper(*this, context.encoding, EncodeString<writeError>(context.encoding, utf8));
}

void t_frame::AddString(std::string_view utf8)
{
    if (data.get_size() == 0)
        throw parseError();
    const std::vector<uint8_t> bytes = EncodeString<parseError>(data.get_ptr()[0], utf8);
    data.append_fromptr(bytes.data(), bytes.size());
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
    const uint8_t encoding = data.get_ptr()[0];
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

} // namespace id3parser
