// An edit of an ID3v2 tag, in memory: from the bytes of the old tag, or of several,
// and a tag list to the bytes of the new one.
#pragma once

#include "tags/NTag.h"
#include "tags/TagOptions.h"
#include "tags/id3parser/fields/CarriedFrames.h"
#include "tags/id3parser/fields/MetaMap.h"

#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace aiff
{

// Order of calls: construct, Apply as often as wanted, then Write once. Nothing in a
// frame that an edit does not concern is changed: not its text encoding, its flags, nor
// what no field can hold. Values and pictures that equal what reading the old tag shows
// concern no frame.
class TagUpdate
{
public:
    // What becomes of the fields and picture types that a list names.
    enum class Task { Set, Remove };

    // oldTags  each from its header on, in the order of the file; may be empty or
    //          damaged, and end where their chunk does. They become one tag, and must
    //          outlive the update.
    TagUpdate(const TagOptions& options, std::span<const std::span<const uint8_t>> oldTags);

    // Merges the items into the tag, or removes the fields and picture types that they
    // name. An item with an empty value removes its field, too. Internal fields other
    // than pictures and the tag's version are left out. The list is not needed any
    // longer after the call.
    void Apply(const NTag& list, Task task);

    // Makes the new tag, padded as id3parser::t_tag::Write describes. False when the format
    // cannot hold it.
    [[nodiscard]] bool Write(uint64_t availableSize, uint64_t maxPadding, size_t alignment,
                             std::vector<uint8_t>& bytes);

private:
    const std::string& ShownField(const std::string& name) const;
    bool RestoreUnchanged(const std::string& field, const XStr& value);
    void ApplyField(const STInternalTag& item, Task task);
    void SetField(const std::string& field, std::string_view name, const XStr& value);
    void RemoveField(const std::string& field);
    void BuildFrames();

    TagOptions m_options;
    id3parser::CarriedFrames m_frames;
    id3parser::metaMap m_fields;
    std::set<std::string, id3parser::metaCompare> m_removed;
    // The fields whose name the tag blob cuts, by the name that is left.
    std::map<std::string, std::string, id3parser::metaCompare> m_cutNames;
};

} // namespace aiff
