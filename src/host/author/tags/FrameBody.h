// SPDX-License-Identifier: MIT

// The bodies of ID3v2 frames of any version, in the form of ID3v2.4, and the texts in them.
#pragma once

#include "tags/id3parser/frames/WireTag.h"

#include <optional>
#include <span>
#include <string>
#include <tbytevector.h>
#include <vector>

namespace aiff::host
{

std::string FrameName(uint32_t id); // four characters
// The same; the three of an ID3v2.2 name that no later version has.
std::string FrameName(const id3parser::WireFrame& wire);

// Without what its flags stand for; nothing for a frame that is compressed or encrypted.
std::optional<TagLib::ByteVector> FrameBody(const id3parser::WireFrame& wire);

// Takes text after text off the front of a frame's body. A zero ends each.
class FrameTexts
{
public:
    explicit FrameTexts(uint8_t encoding, std::span<const uint8_t> bytes)
        : m_encoding(encoding), m_left(bytes)
    {
    }

    bool IsKnown() const { return m_encoding <= id3parser::kEncodingUTF8; }
    // In UTF-8; empty at the end.
    std::string Next();
    std::vector<std::string> Rest();

    std::span<const uint8_t> Left() const { return m_left; }

private:
    std::string Wide(std::span<const uint8_t> bytes);

    uint8_t m_encoding;
    std::span<const uint8_t> m_left;
    std::optional<bool> m_isLittle; // the byte order of the last mark
};

// The texts of a frame that has nothing else; none when they cannot be read.
std::vector<std::string> TextsOf(const id3parser::WireFrame& wire);

// What frames in a tag are told apart by: those with a description by it, APIC frames by the types
// of their pictures. Other frames with one name have one key.
std::string FrameKey(const std::string& name, std::span<const uint8_t> body);

// A view of the bytes of a body.
inline std::span<const uint8_t> BytesOf(const TagLib::ByteVector& body)
{
    return {reinterpret_cast<const uint8_t*>(body.data()), body.size()};
}

} // namespace aiff::host
