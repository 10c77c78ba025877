#include "host/base/Json.h"

#include <cstdio>

namespace aiff::host
{

std::string JsonText(const Json& value, JsonLayout layout)
{
    const int indent = layout == JsonLayout::Indented ? 2 : -1;
    return value.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

void PrintJson(const Json& value, JsonLayout layout)
{
    std::fputs(JsonText(value, layout).c_str(), stdout);
}

} // namespace aiff::host
