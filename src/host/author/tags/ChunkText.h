// SPDX-License-Identifier: MIT

// Text in the chunks of AIFF and RIFF files, which do not say how it is coded.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace aiff::host
{

// Which single bytes a text holds that is not UTF-8.
enum class OldText {
    Aiff, // Mac Roman if there is a byte from 0x80 to 0x9F, where Latin-1 has no text; else Latin-1
    Riff, // Windows code page 1252
};

// The texts in the data of a chunk, in UTF-8; a zero ends each. Empty ones are left out.
std::vector<std::string> ChunkTexts(std::span<const uint8_t> data, OldText old);

} // namespace aiff::host
