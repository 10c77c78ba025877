#pragma once

#include <string>
#include <string_view>

namespace host
{

// A file name as decoders expect it. Bytes 0x80..0xFF that are not part of valid
// UTF-8 become U+DC80..U+DCFF, so every name survives.
std::wstring WideFileName(std::string_view bytes);

// UTF-8 of a text. Surrogates and values past U+10FFFF become U+FFFD.
std::string Utf8(std::wstring_view text);

// The same text in UTF-16 units, one for each character.
//
// returns false when it is not UTF-8 or holds a character beyond U+FFFF; `why` then says
//         so in a few words
[[nodiscard]] bool Utf16Units(std::string_view utf8, std::u16string& units, std::string& why);

// The same text for a terminal, one line: line breaks become "; ", other control
// characters and bytes that are not UTF-8 become "?", so nothing in a file name
// or tag can steer the terminal.
std::string Printable(std::string_view utf8);

} // namespace host
