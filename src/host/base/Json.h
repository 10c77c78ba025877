// SPDX-License-Identifier: MIT

// JSON as the program prints it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace aiff::host
{

using Json = nlohmann::ordered_json;

enum class JsonLayout { OneLine, Indented };

// ASCII, with a line end. A byte 0x80 to 0xFF that is not UTF-8, as names of files may hold,
// becomes U+DC80 to U+DCFF, so that the name can be had back.
std::string JsonText(const Json& value, JsonLayout layout);

// Prints it on standard output.
void PrintJson(const Json& value, JsonLayout layout);

} // namespace aiff::host
