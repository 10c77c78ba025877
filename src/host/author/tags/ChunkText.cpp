// SPDX-License-Identifier: MIT
#include "host/author/tags/ChunkText.h"

#include "support/text/Utf8.h"
#include "support/text/XStr.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

// The characters from 0x80 on.
constexpr std::wstring_view kMacRoman = L"ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü"
                                        L"†°¢£§•¶ß®©™´¨≠ÆØ∞±≤≥¥µ∂∑∏π∫ªºΩæø"
                                        L"¿¡¬√ƒ≈∆«»…\u00A0ÀÃÕŒœ–—“”‘’÷◊ÿŸ⁄€‹›ﬁﬂ"
                                        L"‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔ\uF8FFÒÚÛÙıˆ˜¯˘˙˚¸˝˛ˇ";
static_assert(kMacRoman.size() == 128);

bool IsUtf8(std::string_view text)
{
    uint32_t character = 0;
    while (!text.empty())
        if (!TakeUtf8(text, Utf8Policy::Strict, character))
            return false;
    return true;
}

std::string OneByteText(std::string_view text, bool isMac)
{
    XStr wide;
    for (const char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        wide += isMac && byte >= 0x80 ? kMacRoman[byte - 0x80] : static_cast<wchar_t>(byte);
    }
    return ToUtf8(wide);
}

std::string Decoded(std::string_view text, OldText old)
{
    if (IsUtf8(text))
        return std::string(text);
    if (old == OldText::Riff)
        return ToUtf8(FromAnsi({reinterpret_cast<const uint8_t*>(text.data()), text.size()}));
    const bool isMac = std::ranges::any_of(text, [](char c) {
        return static_cast<uint8_t>(c) >= 0x80 && static_cast<uint8_t>(c) < 0xA0;
    });
    return OneByteText(text, isMac);
}

} // namespace

std::vector<std::string> ChunkTexts(std::span<const uint8_t> data, OldText old)
{
    std::vector<std::string> texts;
    std::string_view left(reinterpret_cast<const char*>(data.data()), data.size());
    while (!left.empty()) {
        const std::string_view text = left.substr(0, left.find('\0'));
        left.remove_prefix(std::min(left.size(), text.size() + 1));
        if (!text.empty())
            texts.push_back(Decoded(text, old));
    }
    return texts;
}

} // namespace aiff::host
