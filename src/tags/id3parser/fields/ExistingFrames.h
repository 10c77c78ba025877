// Decides which frames of a tag stay as they are when the tag is rebuilt.
#pragma once

#include "tags/id3parser/fields/MetaMap.h"
#include "tags/id3parser/frames/Tag.h"

#include <map>
#include <string>
#include <string_view>

namespace aiff::id3parser
{

// Frames move between lists without being copied, so their addresses stay valid.
class ExistingFrames
{
public:
    // Sorts the frames of a tag of that revision by the new fields: frames of a field in
    // `map` wait to be taken, those of a field that `map` no longer has are dropped, and
    // frames that no field represents are the rest. Frames that belong to a field but
    // show no value of it count as the rest as long as the field does not change.
    ExistingFrames(t_tag::FrameList frames, t_tagRevision revision, const metaMap& map);

    // Moves the frames of a field to the end of `out` if its values are those that they
    // hold. Otherwise returns false and drops the frames that show no value.
    bool TakeUnchanged(std::string_view field, const metaMap::Values& values,
                       t_tag::FrameList& out);

    // For a field with a frame for each value: moves the frame that holds the value, or
    // lets `build(value)` append a new one.
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
    metaMap m_values; // of all frames
    std::map<std::string, t_tag::FrameList, metaCompare> m_waiting;
    t_tag::FrameList m_rest;
    // Those of the rest that belong to a field, by field.
    std::multimap<std::string, t_tag::FrameList::iterator, metaCompare> m_silent;
};

} // namespace aiff::id3parser
