// Which frame holds which field. Reader and writer share these rows; the writer
// takes them from top to bottom.
#pragma once

#include "tags/id3parser/fields/FieldNames.h"
#include "tags/id3parser/frames/FrameId.h"
#include "tags/id3parser/frames/Tag.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace id3parser
{

enum class ReadRule : uint8_t {
    Single,       // the first string, whole
    MultiValue,   // all strings; below 2.4 one string is split at "/"
    SecondString, // behind the description
    Url,
    Genre,
    Year,        // TYER, beside TDAT
    DayAndMonth, // TDAT, beside TYER
    Rating,
    Comment,  // the description is part of the field's name
    UserText, // the description is the field's name
    UserUrl,  // the description is part of the field's name
};

enum class WriteRule : uint8_t {
    None,       // written by another row, or by the field's name
    Text,       // one string
    MultiValue, // below 2.4 joined with "/", else a string for each value
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

struct FrameRule {
    uint32_t id;
    std::string_view field; // empty: the name depends on the frame's description
    ReadRule read;
    WriteRule write;
    Versions versions = Versions::All;

    bool FitsRevision(t_tagRevision revision) const
    {
        return versions == Versions::All ||
               (versions == Versions::From24) == (revision >= kRevision4);
    }
};

std::span<const FrameRule> FrameRules();

// Null when no field represents the frame.
const FrameRule* RuleForFrame(uint32_t id);

} // namespace id3parser
