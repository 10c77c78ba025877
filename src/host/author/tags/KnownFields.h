// SPDX-License-Identifier: MIT

// The fields of tags by the names that people and programs have for them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace aiff::host
{

struct KnownField {
    std::string name;     // as decoders show it
    std::string v23, v24; // the frames that hold it, such as "TYER, TDAT"
    std::string property; // its name in TagLib and in Vorbis comments; empty when it has none
    std::vector<std::string> aliases;
    // Of a total, such as that of the tracks: the field that it is a part of.
    std::string totalOf;
};

const std::vector<KnownField>& KnownFields();

// The field that somebody means. Case, blanks and punctuation do not matter; a frame's identifier
// and the name of the property are names, too. Null when there is none.
const KnownField* FindKnownField(std::string_view name);

// What decoders call the field that somebody means: "Tempo" for "BPM". "COMMENT:x" and "URL:x"
// are a comment and a URL with a description, and what follows "TXXX:" is taken as it is.
std::string FieldName(const std::string& name);

inline constexpr int kNewestVersion = 4; // has all frames

// The text frame that holds a field in a version, where decoders have no field for that frame: they
// would write another one. Empty for other fields.
std::string FrameOfField(std::string_view name, int revision);
// The other way round.
std::string FieldOfFrame(std::string_view frame);

// Whether a field with that name gets a frame of its own with this name, and programs do not know
// it: "TXXX:" before the name says that this is meant.
bool MakesOwnField(const std::string& name);

// The known name that a name may be a typing error for; empty when none is near.
std::string NearestFieldName(std::string_view name);

} // namespace aiff::host
