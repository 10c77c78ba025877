// SPDX-License-Identifier: MIT

// The body of an APIC frame: encoding, MIME type, picture type, description and the
// picture's bytes. All functions throw parseError for a malformed one.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace aiff::id3parser
{

struct PictureView {
    uint8_t type = 0;              // above 20 is read as 0
    std::span<const uint8_t> data; // at least one byte of the body
};

PictureView extractAPIC(std::span<const uint8_t> body);
std::string extractAPIC_mime(std::span<const uint8_t> body); // not converted
std::string extractAPIC_desc(std::span<const uint8_t> body); // UTF-8

} // namespace aiff::id3parser
