// SPDX-License-Identifier: MIT

// What other code writes to a terminal.
#pragma once

namespace aiff::host
{

// A descriptor whose lines appear on the terminal as Printable makes them, until the program
// ends. There can be one; `terminal` itself is returned when it cannot be made.
int PrintableTerminal(int terminal);

} // namespace aiff::host
