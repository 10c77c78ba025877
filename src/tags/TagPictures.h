// Pictures: APIC frames and the items "_albumart_..." of a tag list.
#pragma once

#include "tags/NTag.h"
#include "tags/id3parser/frames/Tag.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace aiff
{

bool IsAlbumArt(const STInternalTag& item);
// The ID3v2 picture type of a description; 0 for an empty one or "Undefined".
uint8_t GetPictureType(const XStr& description);
// By the letters of the PNG signature; empty for fewer than 8 bytes.
std::string DetectPictureMimeType(std::span<const uint8_t> data);

// Appends an item for every picture frame that can be read, and takes the frame's body
// for it.
void AppendPicturesToList(id3parser::t_tag& tag, NTag& list);

// Replaces the pictures of the types that the items name. An item with data is a picture
// of its type; one without data removes its type only, as every item does in delete mode.
// A picture that an item repeats keeps its frame.
void ApplyPictures(id3parser::t_tag& tag, const std::vector<const STInternalTag*>& items,
                   bool deleteMode);

} // namespace aiff
