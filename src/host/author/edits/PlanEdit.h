// SPDX-License-Identifier: MIT

// What it takes to set fields in the tag of a file.
#pragma once

#include "host/author/edits/EditTags.h"

#include <string>
#include <string_view>
#include <vector>

namespace aiff::host
{

struct EditPlan {
    TagEdit edit;
    // Whether a decoder, which keeps the version of a tag, the years of dates and one text in most
    // frames, can carry the edit out.
    bool suitsDecoder = true;
    // What is to read back: less than was given where the version of the tag cannot hold that.
    std::vector<TagItem> expected;
    std::vector<std::string> notes; // sentences for people about that
};

EditPlan PlanEdit(const std::vector<TagItem>& items, const FileTags& tags, bool wantsV24);

// "2004", "2004-05", "2004-05-06", "2004-05-06T07:08" and what is between these and the seconds.
bool IsDate(std::string_view text);

} // namespace aiff::host
