#pragma once

#include <span>
#include <string>
#include <string_view>

namespace host
{

// What a picture shows, in the three languages that name it.
struct PictureKind {
    unsigned type;      // number in ID3v2 and FLAC
    const char* option; // on the command line and in names of exported files
    const char* role;   // in the item names of a tag blob
};

std::span<const PictureKind> PictureKinds();

// The kind of a role, upper and lower case alike; that of type 0 ("other") for an
// unknown one.
const PictureKind& PictureKindOfRole(std::string_view role);

// Null for an unknown name.
const PictureKind* PictureKindOfOption(std::string_view option);

// Name of the blob item for a picture: "_albumart_1_Front Album Cover<subdesc>text".
std::string PictureItemName(const PictureKind& kind, std::string_view description);

} // namespace host
