// SPDX-License-Identifier: MIT

// The kinds of pictures that tags hold.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace aiff::host
{

// What a picture shows, and its names.
struct PictureKind {
    unsigned type;      // number in ID3v2 and FLAC
    const char* option; // on the command line and in names of exported files
    const char* role;   // in the item names of a tag blob
};

std::span<const PictureKind> PictureKinds();

// In upper or lower case. The kind of type 0 ("other") for an unknown one.
const PictureKind& PictureKindOfRole(std::string_view role);

// Null for an unknown name.
const PictureKind* PictureKindOfOption(std::string_view option);

// Name of the blob item for a picture: "_albumart_1_Front Album Cover<subdesc>text".
//
// index  tells pictures of one kind apart
std::string PictureItemName(int index, const PictureKind& kind, std::string_view description);

} // namespace aiff::host
