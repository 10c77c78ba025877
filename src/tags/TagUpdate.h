// SPDX-License-Identifier: MIT

// An edit of an ID3v2 tag, in memory: from the bytes of the old tag, or of several,
// and a tag list to the bytes of the new one.
#pragma once

#include "tags/NTag.h"
#include "tags/TagOptions.h"
#include "tags/id3parser/fields/CarriedFrames.h"
#include "tags/id3parser/fields/MetaToFrame.h"

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace aiff
{

// Nothing in a frame that an edit does not concern is changed: not its text encoding, its
// flags, nor what no field can hold. Values and pictures that equal what reading the old tag
// shows concern no frame.
class TagUpdate
{
public:
    using Task = TagTask;

    // oldTags  each from its header on, in the order of the file; may be empty or
    //          damaged, and end where their chunk does. They become one tag.
    // list     what is merged into the tag, or which fields and picture types go. An item
    //          with an empty value removes its field, too. Internal fields other than
    //          pictures and the tag's version are left out.
    // Both must outlive the update.
    TagUpdate(const TagOptions& options, std::span<const std::span<const uint8_t>> oldTags,
              const NTag& list, Task task);

    // Makes the new tag, padded as id3parser::t_tag::Write describes. False when the format
    // cannot hold it, or when an old tag has frames that cannot be found.
    [[nodiscard]] bool Write(uint64_t availableSize, uint64_t maxPadding, size_t alignment,
                             std::vector<uint8_t>& bytes) const;

    // Whether an old tag holds something in which no frame is found.
    bool IsLost() const { return m_isLost; }

    // Names of the old frames that no change concerns and that the new tag cannot hold, each
    // once and with commas between them.
    std::string LeftOut() const;

private:
    TagUpdate(std::vector<id3parser::WireTag> oldTags, const TagOptions& options, const NTag& list,
              Task task);

    void ApplyField(const STInternalTag& item);
    bool IsUnchanged(std::string_view field, const XStr& value) const;
    const std::string& ShownField(const std::string& name);
    void SetField(const std::string& field, std::string_view name, const XStr& value);
    void RemoveField(const std::string& field);
    std::vector<bool> Gone(const id3parser::NewFields& fields) const;
    void EmitRest(const id3parser::NewFields& fields, const id3parser::FrameSink& sink) const;

    TagOptions m_options;
    Task m_task;
    bool m_isLost; // an old tag's content
    id3parser::CarriedFrames m_old;
    id3parser::FieldChanges m_changes;
    std::vector<const STInternalTag*> m_pictures;
    // The old fields whose name the tag blob cuts, by the name that is left.
    std::map<std::string, std::string, id3parser::metaCompare> m_cutNames;
};

} // namespace aiff
