// SPDX-License-Identifier: MIT
#include "host/base/Columns.h"

#include "support/text/Utf8.h"

#include <cwchar>
#include <sys/ioctl.h>
#include <unistd.h>

namespace aiff::host
{
namespace
{

size_t ColumnsOfCharacter(uint32_t c)
{
    constexpr uint32_t kFirstBeyondAscii = 0x80;
    constexpr size_t kMost = 2;
    if (c < kFirstBeyondAscii)
        return 1;
    const int columns = wcwidth(static_cast<wchar_t>(c));
    return columns < 0 ? kMost : static_cast<size_t>(columns);
}

// The part of the text that fits.
std::string_view Fitting(std::string_view text, size_t most)
{
    std::string_view rest = text;
    size_t columns = 0;
    while (!rest.empty()) {
        std::string_view next = rest;
        uint32_t c = 0;
        if (!TakeUtf8(next, Utf8Policy::Strict, c))
            break;
        columns += ColumnsOfCharacter(c);
        if (columns > most)
            break;
        rest = next;
    }
    return text.substr(0, text.size() - rest.size());
}

} // namespace

size_t ColumnsOf(std::string_view text)
{
    size_t columns = 0;
    uint32_t c = 0;
    while (!text.empty() && TakeUtf8(text, Utf8Policy::Strict, c))
        columns += ColumnsOfCharacter(c);
    return columns;
}

std::string CutToColumns(std::string_view text, size_t most)
{
    constexpr std::string_view kMore = "...";
    if (ColumnsOf(text) <= most)
        return std::string(text);
    if (most < kMore.size())
        return std::string(Fitting(text, most));
    return std::string(Fitting(text, most - kMore.size())) + std::string(kMore);
}

size_t TerminalColumns()
{
    constexpr size_t kUsual = 80; // where the terminal does not say
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col : kUsual;
}

} // namespace aiff::host
