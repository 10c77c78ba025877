// SPDX-License-Identifier: MIT

// The tags that a decoder reads and writes, as items and as the blob at the boundary.
#pragma once

#include "host/base/Problem.h"
#include "qvcodec.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace aiff::host
{

// How the name of a picture begins, and what separates its description.
inline constexpr std::string_view kPicturePrefix = QV_TAG_PICTURE_PREFIX;
inline constexpr std::string_view kSubDescription = QV_TAG_SUBDESCRIPTION;

// One named value of a tag blob.
struct TagItem {
    std::string name;              // UTF-8
    std::string value;             // UTF-8; several values are joined with "\r"
    std::span<const uint8_t> data; // picture bytes; a view into the blob

    bool IsPicture() const;
    std::string PictureRole() const; // such as "Front Album Cover"
    std::string PictureDescription() const;
    std::vector<std::string> Values() const;
    // Whether it describes the tag rather than the music: read, but never written.
    bool IsInformation() const;
};

// The value of an item with several values.
std::string JoinedItem(const std::vector<std::string>& values);

// Reads the items of a tag blob, whose layout qvcodec.h describes. Reading stops at the
// first inconsistency and keeps the items before it; nothing outside the blob is read.
std::vector<TagItem> ReadTagBlob(std::span<const uint8_t> blob);

// Makes the blob of `items`, whose texts become UTF-16. What is not UTF-8 or is too large is a
// problem.
Result<std::vector<uint8_t>> MakeTagBlob(const std::vector<TagItem>& items);

// The first item of that name, upper and lower case being the same; null when there is none.
const TagItem* FindItem(const std::vector<TagItem>& items, std::string_view name);

// The value of the first item of exactly that name; empty when there is none.
std::string FindValue(const std::vector<TagItem>& items, std::string_view name);

// The MIME type of a picture, recognised by its first bytes; empty when unknown.
const char* PictureType(std::span<const uint8_t> picture);

} // namespace aiff::host
