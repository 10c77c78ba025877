// SPDX-License-Identifier: MIT

// What tags lose on their way into others.
#pragma once

#include "host/writers/TagContent.h"

#include <string>
#include <vector>

namespace aiff::host
{

// Sentences for people about what `made`, read back, does not hold of what it was to hold. What it
// holds besides does not matter.
std::vector<std::string> TagDifferences(TagContent wanted, TagContent made);

} // namespace aiff::host
