// SPDX-License-Identifier: MIT

// Pictures: APIC frames and the items of a tag list that stand for them.
#pragma once

#include "tags/NTag.h"
#include "tags/TagOptions.h"
#include "tags/id3parser/fields/CarriedFrames.h"

#include <cstdint>
#include <optional>
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

// What an item or a frame says of its picture. The data belongs to it.
struct Picture {
    uint8_t type = 0;
    std::string description; // UTF-8
    std::span<const uint8_t> data;
};

// The picture that reading shows of a frame. Its data is in the frame or in `scratch`.
std::optional<Picture> PictureOf(const id3parser::WireFrame& wire, id3parser::t_frame& scratch);
// The name of its item; `number` counts the pictures of a tag from 1.
XStr PictureItemName(const Picture& picture, size_t number);

// The pictures of a new tag: those of old frames, but for the types that items name. Of
// these an item with data is a picture; one without data, and every item when fields are
// removed, only removes its type. A picture that an item repeats keeps its frame.
class NewPictures
{
public:
    // Refers to the frames and the items.
    NewPictures(const id3parser::CarriedFrames& old, const std::vector<const STInternalTag*>& items,
                TagTask task);

    // Gives the frames to the sink: front covers first, then the others.
    void Emit(const id3parser::FrameSink& sink) const;

private:
    // One of the two is not null.
    struct Source {
        const id3parser::WireFrame* old = nullptr;
        const STInternalTag* item = nullptr;
    };

    void Add(const Source& source, uint8_t type);

    const id3parser::CarriedFrames& m_old;
    std::vector<Source> m_fronts, m_others;
};

} // namespace aiff
