// Text from files and servers on its way to a terminal.
#pragma once

#include <string>
#include <string_view>

namespace aiff::host
{

// The same text for a terminal, one line: line breaks become "; ", other control
// characters and bytes that are not UTF-8 become "?", so nothing in a file name
// or tag can steer the terminal.
std::string Printable(std::string_view utf8);

} // namespace aiff::host
