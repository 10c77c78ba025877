#include "host/base/WideText.h"

#include <cstdint>

namespace host
{
namespace
{

constexpr uint32_t kReplacement = 0xFFFD;

bool IsContinuation(char c)
{
    return (static_cast<uint8_t>(c) & 0xC0) == 0x80;
}

// Takes one character of valid UTF-8 off the front of `text`. Anything else
// (too long a form, a surrogate, a cut sequence) returns false and takes nothing.
bool TakeCharacter(std::string_view& text, uint32_t& character)
{
    const uint8_t lead = static_cast<uint8_t>(text.front());
    size_t length = 0;
    uint32_t least = 0;
    if (lead < 0x80) {
        length = 1;
        character = lead;
    } else if (lead >= 0xC0 && lead < 0xE0) {
        length = 2;
        character = lead & 0x1Fu;
        least = 0x80;
    } else if (lead >= 0xE0 && lead < 0xF0) {
        length = 3;
        character = lead & 0x0Fu;
        least = 0x800;
    } else if (lead >= 0xF0 && lead < 0xF8) {
        length = 4;
        character = lead & 0x07u;
        least = 0x10000;
    }
    if (length == 0 || length > text.size())
        return false;
    for (size_t i = 1; i < length; ++i) {
        if (!IsContinuation(text[i]))
            return false;
        character = character << 6 | (static_cast<uint8_t>(text[i]) & 0x3Fu);
    }
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character < least || character > 0x10FFFF || surrogate)
        return false;
    text.remove_prefix(length);
    return true;
}

void AppendUtf8(std::string& bytes, uint32_t c)
{
    const auto add = [&bytes](uint32_t value) { bytes.push_back(static_cast<char>(value)); };
    if (c < 0x80) {
        add(c);
    } else if (c < 0x800) {
        add(0xC0 | c >> 6);
        add(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        add(0xE0 | c >> 12);
        add(0x80 | (c >> 6 & 0x3F));
        add(0x80 | (c & 0x3F));
    } else {
        add(0xF0 | c >> 18);
        add(0x80 | (c >> 12 & 0x3F));
        add(0x80 | (c >> 6 & 0x3F));
        add(0x80 | (c & 0x3F));
    }
}

} // namespace

std::wstring WideFileName(std::string_view bytes)
{
    std::wstring wide;
    wide.reserve(bytes.size());
    while (!bytes.empty()) {
        uint32_t character = 0;
        if (!TakeCharacter(bytes, character)) {
            character = 0xDC00u + static_cast<uint8_t>(bytes.front());
            bytes.remove_prefix(1);
        }
        wide.push_back(static_cast<wchar_t>(character));
    }
    return wide;
}

std::string Utf8(std::wstring_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (const wchar_t wide : text) {
        const uint32_t c = static_cast<uint32_t>(wide);
        const bool valid = c <= 0x10FFFF && !(c >= 0xD800 && c <= 0xDFFF);
        AppendUtf8(bytes, valid ? c : kReplacement);
    }
    return bytes;
}

bool Utf16Units(std::string_view utf8, std::u16string& units, std::string& why)
{
    units.clear();
    while (!utf8.empty()) {
        uint32_t character = 0;
        if (!TakeCharacter(utf8, character)) {
            why = "is not UTF-8";
            return false;
        }
        if (character > 0xFFFF) {
            std::string text;
            AppendUtf8(text, character);
            why =
                "holds the character '" + text + "', which lies beyond U+FFFF and cannot be stored";
            return false;
        }
        units.push_back(static_cast<char16_t>(character));
    }
    return true;
}

std::string Printable(std::string_view utf8)
{
    std::string line;
    line.reserve(utf8.size());
    while (!utf8.empty()) {
        uint32_t c = 0;
        if (!TakeCharacter(utf8, c)) {
            utf8.remove_prefix(1);
            c = '?';
        }
        if (c == '\r' || c == '\n')
            line += "; ";
        else
            AppendUtf8(line, c < 0x20 || (c >= 0x7F && c < 0xA0) ? '?' : c);
    }
    return line;
}

} // namespace host
