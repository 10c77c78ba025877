// SPDX-License-Identifier: MIT

// What TagLib reads in files that aiffconv wrote, as texts.
#pragma once

#include "HostHarness.h"

#include <aifffile.h>
#include <attachedpictureframe.h>
#include <flacfile.h>
#include <id3v2tag.h>
#include <infotag.h>
#include <tpropertymap.h>
#include <wavfile.h>
#include <xiphcomment.h>

using Map = std::map<std::string, std::string>;

inline std::string Utf8(const TagLib::String& text)
{
    return text.to8Bit(true);
}

// Several values stand in one, with "|" between them.
inline Map Properties(const TagLib::PropertyMap& properties)
{
    Map map;
    for (const auto& [name, values] : properties)
        map[Utf8(name)] = Utf8(values.toString("|"));
    return map;
}

// The pictures of a tag, each as "4 image/png 3009 text".
inline Names Pictures(const TagLib::ID3v2::Tag& tag)
{
    Names pictures;
    for (const auto* frame : tag.frameList("APIC")) {
        const auto& art = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame&>(*frame);
        pictures.push_back(std::to_string(art.type()) + " " + Utf8(art.mimeType()) + " " +
                           std::to_string(art.picture().size()) + " " + Utf8(art.description()));
    }
    return pictures;
}

// The files themselves, by their names in the folder.
template <class File>
struct TaggedFile : File {
    TaggedFile(const Workplace& place, const std::string& name) : File(place.Path(name).c_str()) {}
};
using AiffTags = TaggedFile<TagLib::RIFF::AIFF::File>;
using WavTags = TaggedFile<TagLib::RIFF::WAV::File>;
using FlacTags = TaggedFile<TagLib::FLAC::File>;
