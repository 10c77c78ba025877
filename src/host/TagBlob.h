#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace host
{

// One named value of a tag blob.
struct TagItem {
    std::string name;              // UTF-8
    std::string value;             // UTF-8; several values are joined with "\r"
    std::span<const uint8_t> data; // picture bytes; a view into the blob

    bool IsPicture() const;
    std::string PictureRole() const; // "Front Album Cover", the description left out
};

// Reads the items of a tag blob (layout: see qvcodec.h). Reading stops at the
// first inconsistency and keeps the items before it; no byte outside the blob is
// touched.
std::vector<TagItem> ReadTagBlob(std::span<const uint8_t> blob);

// Value of the first item of that name; empty when there is none.
std::string FindValue(const std::vector<TagItem>& items, std::string_view name);

// MIME type of a picture, told from its first bytes; empty when unknown.
const char* PictureType(std::span<const uint8_t> picture);

} // namespace host
