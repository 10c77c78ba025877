// SPDX-License-Identifier: MIT

// JSON as the program prints it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace aiff::host
{

using Json = nlohmann::ordered_json;

enum class JsonLayout { OneLine, Indented };

// ASCII, with a line end. In strings that are not UTF-8, as names of files may be, U+FFFD stands
// for what is not. After such a member "name" of an object, "nameBytes" has all of its bytes, two
// hexadecimal digits each.
std::string JsonText(const Json& value, JsonLayout layout);

// Prints it on standard output.
void PrintJson(const Json& value, JsonLayout layout);

} // namespace aiff::host
