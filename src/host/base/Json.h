// JSON as the program prints it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace aiff::host
{

using Json = nlohmann::ordered_json;

enum class JsonLayout { OneLine, Indented };

// Ends with a line end. Bytes that are not UTF-8 become U+FFFD.
std::string JsonText(const Json& value, JsonLayout layout);

// Prints it on standard output.
void PrintJson(const Json& value, JsonLayout layout);

} // namespace aiff::host
