// SPDX-License-Identifier: MIT

// The properties, by their names in TagLib and in Vorbis comments, that ID3v2 frames hold.
#pragma once

#include <id3v2frame.h>
#include <string>
#include <tpropertymap.h>
#include <tstring.h>

namespace aiff::host
{

// TagLib tells properties of whole tags only.
TagLib::PropertyMap PropertiesOf(TagLib::ID3v2::Frame& frame);

// The property of a text frame: its identifier where TagLib has none.
TagLib::String PropertyOfText(const std::string& id);
// Of a TXXX frame, by its description; empty when that is none.
TagLib::String PropertyOfUserText(const std::string& description);
// Of a frame with a URL, but for WXXX; empty when there is none.
TagLib::String PropertyOfUrl(const std::string& id);

// "LYRICS:VERSE"
TagLib::String PropertyWithDescription(const std::string& base, const std::string& description);

} // namespace aiff::host
