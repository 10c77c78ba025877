// The frames of a tag that is being rebuilt: which of them stay as they are.
#pragma once

#include "tags/id3parser/fields/MetaMap.h"
#include "tags/id3parser/frames/Tag.h"

#include <map>
#include <string>
#include <string_view>

namespace id3parser
{

// Frames move between lists without being copied, so their addresses last.
class ExistingFrames
{
public:
    // Sorts the frames of a tag of that revision by what the new fields say of them:
    // frames of a field of `map` wait to be taken, those of a field that `map` has
    // lost are dropped, and what no field represents is the rest. Frames that would
    // belong to a field, but show no value of it, are of the rest for as long as the
    // field does not change.
    ExistingFrames(t_tag::FrameList frames, t_tagRevision revision, const metaMap& map);

    // Moves the frames of a field to the end of `out` when they say the same values
    // as before; returns false when they do not, and drops those that show no value.
    bool TakeUnchanged(std::string_view field, const metaMap::Values& values,
                       t_tag::FrameList& out);

    // For a field with a frame for each value: moves the frame that says a value, or
    // has `build(value)` append a new one.
    template <class Build>
    void TakeOrBuild(std::string_view field, const metaMap::Values& values, t_tag::FrameList& out,
                     Build build)
    {
        ByValue old = FramesByValue(field);
        for (const std::string& value : values) {
            if (auto found = old.extract(value))
                out.splice(out.end(), m_waiting.find(field)->second, found.mapped());
            else
                build(value);
        }
    }

    // Moves the rest, in its old order, to the end of `out`.
    void TakeRest(t_tag::FrameList& out);

private:
    using ByValue = std::multimap<std::string, t_tag::FrameList::iterator>;

    bool ShowsValue(const t_frame& frame) const;
    ByValue FramesByValue(std::string_view field);

    t_tagRevision m_revision;
    metaMap m_values; // what the frames said
    std::map<std::string, t_tag::FrameList, metaCompare> m_waiting;
    t_tag::FrameList m_rest;
    // Of the rest, by field.
    std::multimap<std::string, t_tag::FrameList::iterator, metaCompare> m_silent;
};

} // namespace id3parser
