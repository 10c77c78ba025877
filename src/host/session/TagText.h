// SPDX-License-Identifier: MIT

// Tags as text and as JSON.
#pragma once

#include "host/base/Json.h"
#include "host/session/TagBlob.h"

#include <vector>

namespace aiff::host
{

// Prints a line for each value of each item to standard output, indented by `indent` blanks.
void PrintTags(const std::vector<TagItem>& tags, int indent);

// An array with an object for each item: "name", and "value" with "values", or
// "picture".
Json TagsJson(const std::vector<TagItem>& tags);

} // namespace aiff::host
