// SPDX-License-Identifier: MIT
#include "host/commands/Md5List.h"

#include "support/text/Ascii.h"

#include <algorithm>
#include <utility>

namespace aiff::host
{
namespace
{

constexpr size_t kHexDigits = 32;
constexpr std::pair<char, char> kEscapes[] = {{'\n', 'n'}, {'\r', 'r'}, {'\\', '\\'}};

// None for an escape that there is not.
std::optional<std::string> Unescaped(std::string_view name)
{
    std::string text;
    for (size_t i = 0; i < name.size(); ++i) {
        if (name[i] != '\\') {
            text += name[i];
            continue;
        }
        const char letter = ++i < name.size() ? name[i] : '\0';
        const auto* const escape =
            std::ranges::find(kEscapes, letter, &std::pair<char, char>::second);
        if (escape == std::end(kEscapes))
            return std::nullopt;
        text += escape->first;
    }
    return text;
}

std::optional<ListedSum> ReadLine(std::string_view line)
{
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    const bool isEscaped = line.starts_with('\\');
    line.remove_prefix(isEscaped ? 1 : 0);
    constexpr std::string_view kTag = "MD5 (";
    constexpr std::string_view kBeforeSum = ") = ";
    std::string_view hex = line.substr(0, kHexDigits);
    std::string_view name;
    if (line.starts_with(kTag)) {
        const size_t end = line.rfind(kBeforeSum);
        if (end == std::string_view::npos || end < kTag.size())
            return std::nullopt;
        name = line.substr(kTag.size(), end - kTag.size());
        hex = line.substr(end + kBeforeSum.size());
    } else if (line.size() > kHexDigits && (line[kHexDigits] == ' ' || line[kHexDigits] == '\t')) {
        name = line.substr(kHexDigits + 1);
        if (name.size() > 1 && (name[0] == ' ' || name[0] == '*'))
            name.remove_prefix(1);
    }
    const bool isHex = hex.size() == kHexDigits &&
                       std::ranges::all_of(hex, [](char c) { return HexValue(c) >= 0; });
    if (!isHex || name.empty())
        return std::nullopt;
    const std::optional<std::string> plain = isEscaped ? Unescaped(name) : std::string(name);
    if (!plain)
        return std::nullopt;
    ListedSum sum{std::string(hex), *plain};
    std::ranges::transform(sum.hex, sum.hex.begin(), LowerAscii<char>);
    return sum;
}

} // namespace

SumList ReadSumList(std::string_view text)
{
    SumList list;
    while (!text.empty()) {
        std::string_view line = TakeUntil(text, '\n');
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (line.empty() || line.starts_with('#'))
            continue;
        if (std::optional<ListedSum> sum = ReadLine(line))
            list.sums.push_back(std::move(*sum));
        else
            ++list.malformed;
    }
    return list;
}

std::string LineWithName(const std::string& before, const std::string& name)
{
    std::string text;
    for (const char c : name) {
        const auto* const escape = std::ranges::find(kEscapes, c, &std::pair<char, char>::first);
        if (escape == std::end(kEscapes))
            text += c;
        else
            text += {'\\', escape->second};
    }
    return (text == name ? "" : "\\") + before + text;
}

} // namespace aiff::host
