// SPDX-License-Identifier: MIT

// Text on its way to a terminal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace aiff::host
{

// The same text for a terminal, one line: line breaks become "; ", other control
// characters, those of direction and bytes that are not UTF-8 become "?", so nothing in a file name
// or tag can steer the terminal.
std::string Printable(std::string_view utf8);

// Two digits for each byte.
std::string Hexadecimal(std::span<const std::byte> bytes);

// A number of things: "1 byte", "2 bytes".
std::string Counted(int64_t count, std::string_view noun);

} // namespace aiff::host
