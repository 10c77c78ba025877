// SPDX-License-Identifier: MIT
#include "host/base/Json.h"

#include "host/base/Printable.h"
#include "support/text/Utf8.h"

#include <cstdio>
#include <span>
#include <string_view>

namespace aiff::host
{
namespace
{

constexpr char kBytes[] = "Bytes";

bool IsUtf8(std::string_view text)
{
    uint32_t c = 0;
    while (TakeUtf8(text, Utf8Policy::Strict, c)) {
    }
    return text.empty();
}

// The value with the bytes of what is not UTF-8.
Json WithBytes(const Json& value)
{
    if (!value.is_structured())
        return value;
    Json whole = value.is_object() ? Json::object() : Json::array();
    for (const auto& [key, member] : value.items()) {
        if (value.is_array()) {
            whole.push_back(WithBytes(member));
            continue;
        }
        whole[key] = WithBytes(member);
        const auto* const text = member.get_ptr<const std::string*>();
        if (text != nullptr && !IsUtf8(*text))
            whole[key + kBytes] = Hexadecimal(std::as_bytes(std::span(*text)));
    }
    return whole;
}

} // namespace

std::string JsonText(const Json& value, JsonLayout layout)
{
    constexpr int kOneLine = -1;
    constexpr int kIndent = 2;
    const int indent = layout == JsonLayout::Indented ? kIndent : kOneLine;
    return WithBytes(value).dump(indent, ' ', true, Json::error_handler_t::replace) + "\n";
}

void PrintJson(const Json& value, JsonLayout layout)
{
    std::fputs(JsonText(value, layout).c_str(), stdout);
}

} // namespace aiff::host
