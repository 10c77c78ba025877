#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace host
{

// What the name of a picture begins with, and what stands before its description.
inline constexpr std::string_view kPicturePrefix = "_albumart_";
inline constexpr std::string_view kSubDescription = "<subdesc>";

// One named value of a tag blob.
struct TagItem {
    std::string name;              // UTF-8
    std::string value;             // UTF-8; several values are joined with "\r"
    std::span<const uint8_t> data; // picture bytes; a view into the blob

    bool IsPicture() const;
    std::string PictureRole() const; // "Front Album Cover", the description left out
    std::string PictureDescription() const;
    std::vector<std::string> Values() const;
    // Tells of the tag itself rather than of the music: read, but never written.
    bool IsInformation() const;
};

// Reads the items of a tag blob (layout: see qvcodec.h). Reading stops at the
// first inconsistency and keeps the items before it; no byte outside the blob is
// touched.
std::vector<TagItem> ReadTagBlob(std::span<const uint8_t> blob);

// Makes the blob of `items`.
//
// returns false with a line in `problem` when a blob cannot carry them: their texts
//         are UTF-16 units, one for each character
[[nodiscard]] bool MakeTagBlob(const std::vector<TagItem>& items, std::vector<uint8_t>& blob,
                               std::string& problem);

// The first item of that name in any case; null when there is none.
const TagItem* FindItem(const std::vector<TagItem>& items, std::string_view name);

// Value of the first item of that name; empty when there is none.
std::string FindValue(const std::vector<TagItem>& items, std::string_view name);

// MIME type of a picture, told from its first bytes; empty when unknown.
const char* PictureType(std::span<const uint8_t> picture);

} // namespace host
