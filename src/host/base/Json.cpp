// SPDX-License-Identifier: MIT
#include "host/base/Json.h"

#include "support/text/Utf8.h"

#include <cstdio>

namespace aiff::host
{
namespace
{

void AppendUnit(std::string& out, uint32_t unit)
{
    char text[16];
    std::snprintf(text, sizeof text, "\\u%04x", static_cast<unsigned>(unit));
    out += text;
}

void AppendString(std::string& out, std::string_view bytes)
{
    out += '"';
    uint32_t c = 0;
    while (TakeUtf8(bytes, Utf8Policy::RawBytes, c)) {
        if (c > 0xFFFF) {
            AppendUnit(out, 0xD800 | (c - 0x10000) >> 10);
            AppendUnit(out, 0xDC00 | (c & 0x3FF));
        } else if (c < 0x20 || c >= 0x7F) {
            AppendUnit(out, c);
        } else {
            if (c == '"' || c == '\\')
                out += '\\';
            out += static_cast<char>(c);
        }
    }
    out += '"';
}

// `lineStart` begins the lines of the value, or is empty for a value on one line.
void AppendValue(std::string& out, const Json& value, const std::string& lineStart)
{
    if (value.is_string()) {
        AppendString(out, value.get_ref<const std::string&>());
    } else if (value.is_structured()) {
        const bool isObject = value.is_object();
        const std::string inner = lineStart.empty() || value.empty() ? "" : lineStart + "  ";
        const char* comma = "";
        out += isObject ? '{' : '[';
        for (const auto& [key, member] : value.items()) {
            out += comma + inner;
            comma = ",";
            if (isObject) {
                AppendString(out, key);
                out += inner.empty() ? ":" : ": ";
            }
            AppendValue(out, member, inner);
        }
        out += value.empty() ? "" : lineStart;
        out += isObject ? '}' : ']';
    } else {
        out += value.dump();
    }
}

} // namespace

// The library's own writer refuses or replaces what is not UTF-8.
std::string JsonText(const Json& value, JsonLayout layout)
{
    std::string text;
    AppendValue(text, value, layout == JsonLayout::Indented ? "\n" : "");
    return text + "\n";
}

void PrintJson(const Json& value, JsonLayout layout)
{
    std::fputs(JsonText(value, layout).c_str(), stdout);
}

} // namespace aiff::host
