// SPDX-License-Identifier: MIT

// What a tag says, in terms that tags of several formats have in common.
#pragma once

#include <set>
#include <string>
#include <tbytevector.h>
#include <tpropertymap.h>
#include <tstring.h>
#include <vector>

namespace aiff::host
{

// Where a date of ID3v2 has a "T" before the time, and others a blank.
inline constexpr unsigned kTimeOfDate = 10;

struct TagPicture {
    unsigned type = 0;       // number in ID3v2 and FLAC
    TagLib::String mimeType; // "-->" when the data is the URL of the picture
    TagLib::String description;
    TagLib::ByteVector data;
};

struct TagContent {
    TagLib::PropertyMap texts; // by property, each with its values
    std::vector<TagPicture> pictures;
    // Properties of several values that the tag joins with slashes, as all before ID3v2.4 do.
    std::set<TagLib::String> joined;
    // Descriptions of which properties do not keep the case, in quotation marks.
    std::set<std::string> recased;
    // What is in the tag and not here, for people, such as "chapters (CHAP)".
    std::set<std::string> leftOut;
    bool isDamaged = false; // more may be in the tag

    // Adds the values that are not empty and have only valid characters. False when there are none.
    bool Add(const TagLib::String& property, const TagLib::StringList& values);
    // Adds the texts of properties that are not here yet. Returns those of the others that say
    // something else than what is here.
    TagLib::StringList AddMissing(const TagLib::PropertyMap& others);
};

// The text of UTF-8, and back.
TagLib::String TagText(std::string_view utf8);
std::string Utf8Of(const TagLib::String& text);

// "GEOB, PRIV"
std::string Enumerated(const std::set<std::string>& names);

} // namespace aiff::host
