// Tags as text and as JSON.
#pragma once

#include "host/session/TagBlob.h"

#include <nlohmann/json.hpp>
#include <vector>

namespace aiff::host
{

// Prints a line for each value of each item to standard output, indented by `indent` blanks.
void PrintTags(const std::vector<TagItem>& tags, int indent);

// An array with an object for each item: "name", and "value" with "values", or
// "picture".
nlohmann::ordered_json TagsJson(const std::vector<TagItem>& tags);

} // namespace aiff::host
