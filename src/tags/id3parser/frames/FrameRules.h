// SPDX-License-Identifier: MIT

// The table of frames: the name of each in ID3v2.2, the field that it holds, and how the
// field is read and written. The writer takes the rows from top to bottom.
#pragma once

#include "tags/id3parser/frames/Frame.h"
#include "tags/id3parser/frames/FrameId.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace aiff::id3parser
{

enum class ReadRule : uint8_t {
    None,         // no field represents the frame: it is only carried over
    Single,       // the first string, whole
    MultiValue,   // all strings; below 2.4 one string is split at "/"
    SecondString, // after the description
    Url,
    Genre,
    Year,        // TYER, completed by TDAT
    DayAndMonth, // TDAT, completing TYER
    Rating,
    Comment,  // the description is part of the field's name
    UserText, // the description is the field's name
    UserUrl,  // the description is part of the field's name
};

enum class WriteRule : uint8_t {
    None,       // written by another row, by the field's name, or not at all
    Text,       // one string
    MultiValue, // below 2.4 joined with "/", from 2.4 a string for each value
    Comment,    // a frame for each value
    Url,        // a frame for each value
    Genre,
    OldDate, // TYER and TDAT
    Date,    // one string of digits
    Rating,
};

// The revisions that know the frame. Strict reading refuses it elsewhere, and it is
// not written there.
enum class Versions : uint8_t { All, Below24, From24 };

// Who translates the frame's ID3v2.2 name.
enum class Use_v2 : uint8_t {
    None,        // nobody: the name is unknown, or the body would not be the same
    Read,        // reading and editing
    CarriedOnly, // editing, which writes the frame into a later revision; reading shows none
};

struct Name_v2 {
    std::string_view text; // three characters, or empty
    Use_v2 use = Use_v2::None;

    bool operator==(const Name_v2&) const = default;
};

struct FrameRule {
    uint32_t id = 0;
    Name_v2 name_v2;
    std::string_view field = {}; // empty: none, or its name depends on the frame's description
    ReadRule read = ReadRule::None;
    WriteRule write = WriteRule::None;
    Versions versions = Versions::All;

    constexpr bool HasField() const { return read != ReadRule::None; }
    constexpr bool FitsRevision(t_tagRevision revision) const
    {
        return versions == Versions::All ||
               (versions == Versions::From24) == (revision >= kRevision4);
    }
};

std::span<const FrameRule> FrameRules();

// Null when no field represents the frame.
const FrameRule* RuleForFrame(uint32_t id);

// The identifier of an ID3v2.2 name, or 0: for reading, and for names that only an edit
// translates.
uint32_t translate_v2_id(const char* id3);
uint32_t CarriedId_v2(std::string_view name);

} // namespace aiff::id3parser
