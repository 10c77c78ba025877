// SPDX-License-Identifier: MIT
#include "tags/id3parser/fields/Gapless.h"

#include "support/text/Ascii.h"
#include "tags/id3parser/bytes/Errors.h"

#include <algorithm>

namespace aiff::id3parser
{

namespace
{

constexpr std::string_view kGaplessDescription = "iTunSMPB";

// Takes the next of the numbers between blanks; 0 when there is none.
uint64_t TakeNumber(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    uint64_t number = 0;
    while (!text.empty() && text[0] != ' ') {
        number = number << 4 | static_cast<uint64_t>(std::max(HexValue(text[0]), 0));
        text.remove_prefix(1);
    }
    return number;
}

} // namespace

bool parse_apple_gapless(std::string_view text, uint64_t& delay, uint64_t& length)
{
    uint64_t numbers[4];
    for (uint64_t& number : numbers)
        number = TakeNumber(text);
    if (numbers[3] == 0 || numbers[1] + numbers[3] < numbers[1])
        return false;
    delay = numbers[1];
    length = numbers[3];
    return true;
}

bool extractAppleGapless(const t_frame& frame, uint64_t& delay, uint64_t& length)
{
    if (frame.id != kFrameCOMM)
        return false;
    try {
        std::string text;
        frame.GetAsString(false, text, 0);
        if (text != kGaplessDescription)
            return false;
        frame.GetAsString(false, text, 1);
        return parse_apple_gapless(text, delay, length);
    } catch (const parseError&) {
        return false;
    }
}

} // namespace aiff::id3parser
