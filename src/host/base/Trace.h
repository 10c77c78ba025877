#pragma once

#include <string>

namespace host
{

// How much of the decoders' report is shown, and where.
struct Trace {
    enum class Level { Off, Error, Information, Debug };

    Level level = Level::Off;
    int descriptor = -1; // open as long as the program runs

    bool IsOn() const { return level != Level::Off; }
};

// Reads "error", "info" or "debug", with "=FILE" behind it to write there rather
// than to standard error. FILE is created or emptied.
//
// returns false with a line in `problem` when that is not possible
[[nodiscard]] bool ParseTrace(const std::string& text, Trace& trace, std::string& problem);

} // namespace host
