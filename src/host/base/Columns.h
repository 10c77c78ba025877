// SPDX-License-Identifier: MIT

// How much room text takes on a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace aiff::host
{

// Columns that a text takes which Printable has made: wide characters take two, combining ones
// none. Rather too many than too few, where the locale does not know a character.
size_t ColumnsOf(std::string_view text);

// The text, or so much of it that it takes no more than `most` columns, with "..." at its end.
std::string CutToColumns(std::string_view text, size_t most);

// Columns of the terminal on standard error as it is now.
size_t TerminalColumns();

} // namespace aiff::host
