// SPDX-License-Identifier: MIT

// Writing: fields to frames.
#pragma once

#include "tags/id3parser/fields/CarriedFrames.h"
#include "tags/id3parser/fields/MetaMap.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace aiff::id3parser
{

// The fields that an edit concerns, with their new values; none for a field that goes.
using FieldChanges = std::map<std::string, std::optional<Values>, metaCompare>;

// The fields of a new tag: those of old frames, with changes.
//
// Where a field keeps its values, its frames are kept untouched, and with them what no value
// can hold, such as a language or a play counter.
class NewFields
{
public:
    // Refers to all of them.
    NewFields(const CarriedFrames& old, const FieldChanges& changes, const tagCreateArgs& args);

    // Whether a field gets other values than its old frames show, or none.
    bool IsChanged(FieldIndex::Group group) const;

    // Gives the frames of all fields to the sink in a fixed order: those of the table of
    // frames first, then the others by their names. Old frames that show no value are not
    // among them. Throws writeError for an encoding that cannot be written.
    void Emit(const FrameSink& sink) const;

private:
    template <class Visit>
    void ForEachName(Visit visit) const;
    bool EmitOld(FieldIndex::Group group, const FrameSink& sink) const;
    void EmitField(std::string_view name, const FrameRule* rule, const FrameSink& sink) const;

    const CarriedFrames& m_old;
    const FieldChanges& m_changes;
    tagCreateContext m_context;
};

} // namespace aiff::id3parser
