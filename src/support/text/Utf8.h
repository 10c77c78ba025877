// SPDX-License-Identifier: MIT

// UTF-8, one character at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace aiff
{

// What counts as a character. Only the shortest form of each ever does.
enum class Utf8Policy {
    Strict,   // Unicode scalar values
    Extended, // any number below 2^31, in up to six bytes; surrogates too
    RawBytes, // as Strict, and a byte of anything else is a character U+DC80 to U+DCFF
};

// Takes the first character off `bytes`. False, with nothing taken and the code point 0,
// when they begin with none or are empty; under RawBytes only when they are empty.
[[nodiscard]] bool TakeUtf8(std::string_view& bytes, Utf8Policy policy, uint32_t& codePoint);

// Writes one character in one to six bytes and returns their number: 0 from 2^31 on. A
// null `out` only measures.
size_t EncodeUtf8(uint32_t codePoint, char* out);

// Appends what EncodeUtf8 writes.
void AppendUtf8(std::string& out, uint32_t codePoint);

} // namespace aiff
