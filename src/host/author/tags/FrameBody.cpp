// SPDX-License-Identifier: MIT

#include "host/author/tags/FrameBody.h"

#include <algorithm>
#include <id3v2synchdata.h>

namespace aiff::host
{
namespace
{

using id3parser::WireFrame;
using TagLib::ByteVector;
namespace format3 = id3parser::format3;
namespace format4 = id3parser::format4;

// Bytes before the body: the group, and in ID3v2.4 the length.
constexpr size_t kGroupBytes = 1;

ByteVector Bytes(std::span<const uint8_t> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned>(bytes.size())};
}

// An ID3v2.2 picture has a format of three letters in place of a MIME type.
ByteVector OldPicture(std::span<const uint8_t> bytes)
{
    constexpr size_t kFormatEnd = 4;
    if (bytes.size() <= kFormatEnd)
        return Bytes(bytes);
    const std::string format(bytes.begin() + 1, bytes.begin() + kFormatEnd);
    ByteVector body = Bytes(bytes.first(1));
    body.append(format == "-->" ? "-->" : id3parser::ImageTypeToMime(format.c_str()));
    body.append('\0');
    body.append(Bytes(bytes.subspan(kFormatEnd)));
    return body;
}

// Of text that lacks its mark. In most texts most characters have few bits.
bool IsLittleEndian(std::span<const uint8_t> bytes)
{
    ptrdiff_t little = 0;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2)
        little += (bytes[i + 1] == 0) - (bytes[i] == 0);
    return little > 0;
}

} // namespace

std::string FrameName(uint32_t id)
{
    std::string name;
    for (int shift = 24; shift >= 0; shift -= 8)
        name.push_back(static_cast<char>(id >> shift));
    return name;
}

std::string FrameName(const WireFrame& wire)
{
    constexpr size_t kHeader_v2 = 6;
    if (wire.id == 0)
        return {wire.bytes - kHeader_v2, wire.bytes - kHeader_v2 + 3};
    return FrameName(wire.id);
}

std::optional<ByteVector> FrameBody(const WireFrame& wire)
{
    std::span<const uint8_t> bytes = wire.Body();
    if (wire.revision == id3parser::kRevision2)
        return wire.id == id3parser::kFrameAPIC ? OldPicture(bytes) : Bytes(bytes);
    const bool is4 = wire.revision == id3parser::kRevision4;
    const int packed = is4 ? format4::kCompressed | format4::kEncrypted
                           : format3::kCompressed | format3::kEncrypted;
    if ((wire.formatFlags & packed) != 0)
        return std::nullopt;
    const bool isGrouped = wire.formatFlags & (is4 ? format4::kGrouped : format3::kGrouped);
    const bool hasLength = is4 && wire.formatFlags & format4::kDataLength;
    const size_t skipped = isGrouped * kGroupBytes + hasLength * id3parser::kDataLengthSize;
    const ByteVector body = Bytes(bytes.subspan(std::min(skipped, bytes.size())));
    const bool isUnsynchronised = is4 && wire.formatFlags & format4::kUnsynchronised;
    return isUnsynchronised ? TagLib::ID3v2::SynchData::decode(body) : body;
}

std::string FrameTexts::Wide(std::span<const uint8_t> bytes)
{
    std::vector<uint8_t> text(bytes.begin(), bytes.end());
    const auto hasMark = [&](uint8_t first, uint8_t second) {
        return text.size() > 1 && text[0] == first && text[1] == second;
    };
    if (hasMark(0xFF, 0xFE) || hasMark(0xFE, 0xFF)) {
        m_isLittle = text[0] == 0xFF;
        text.erase(text.begin(), text.begin() + 2);
    }
    if (!m_isLittle)
        m_isLittle = m_encoding == id3parser::kEncodingUTF16 && IsLittleEndian(text);
    for (size_t i = 0; *m_isLittle && i + 1 < text.size(); i += 2)
        std::swap(text[i], text[i + 1]);
    std::string result;
    id3parser::importString(result, id3parser::kEncodingUTF16BE, text, false);
    return result;
}

std::string FrameTexts::Next()
{
    const size_t unit = id3parser::UnitSize(m_encoding);
    const auto isEnd = [&](size_t at) {
        return std::ranges::all_of(m_left.subspan(at, unit),
                                   [](uint8_t byte) { return byte == 0; });
    };
    size_t end = 0;
    while (end + unit <= m_left.size() && !isEnd(end))
        end += unit;
    const std::span<const uint8_t> bytes = m_left.first(std::min(end, m_left.size()));
    m_left = m_left.subspan(std::min(end + unit, m_left.size()));
    if (unit != 1)
        return Wide(bytes);
    std::string text;
    id3parser::importString(text, m_encoding, bytes, false);
    return text;
}

std::vector<std::string> FrameTexts::Rest()
{
    std::vector<std::string> texts;
    while (!m_left.empty())
        texts.push_back(Next());
    return texts;
}

std::vector<std::string> TextsOf(const WireFrame& wire)
{
    const std::optional<ByteVector> body = FrameBody(wire);
    if (!body || body->isEmpty())
        return {};
    FrameTexts texts(BytesOf(*body)[0], BytesOf(*body).subspan(1));
    return texts.IsKnown() ? texts.Rest() : std::vector<std::string>();
}

std::string FrameKey(const std::string& name, std::span<const uint8_t> body)
{
    constexpr size_t kLanguage = 3;
    const bool isPicture = name == "APIC";
    if (body.empty() || (!isPicture && name != "COMM" && name != "TXXX" && name != "WXXX"))
        return name;
    const size_t before = name == "COMM" ? 1 + kLanguage : 1;
    // The MIME type of a picture is in ISO 8859-1.
    FrameTexts texts(isPicture ? uint8_t{id3parser::kEncodingISO} : body[0],
                     body.subspan(std::min(before, body.size())));
    const std::string first = texts.IsKnown() ? texts.Next() : "";
    if (!isPicture)
        return name + ":" + first;
    return name + ":" + (texts.Left().empty() ? "" : std::to_string(texts.Left().front()));
}

} // namespace aiff::host
