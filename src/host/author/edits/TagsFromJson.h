// SPDX-License-Identifier: MIT

// Making tags of what TagsToJson has made of others, or of names and values.
#pragma once

#include "host/author/edits/PlanEdit.h"
#include "host/base/Json.h"
#include "host/base/Problem.h"

#include <string>
#include <unordered_map>

namespace aiff::host
{

// The edit that puts what an object says into the tag of a file: either one with "tags" and
// "frames", or one whose members are fields with a text or an array of texts. A new tag gets the
// version that the object tells.
Result<EditPlan> PlanFromJson(const Json& object, const FileTags& tags, bool wantsV24);

// The objects of an array by their files. One alone is for all files.
class JsonFiles
{
public:
    // Refers to the JSON.
    explicit JsonFiles(const Json& json);

    Result<const Json*> Find(const std::string& name) const;

private:
    const Json* m_forAll = nullptr;
    std::unordered_map<std::string, const Json*> m_byName;
};

} // namespace aiff::host
