// SPDX-License-Identifier: MIT

// Bytes as text.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace aiff::host
{

std::string ToBase64(std::span<const uint8_t> bytes);
// Nothing for a text that is not base64.
std::optional<std::vector<uint8_t>> FromBase64(const std::string& text);

} // namespace aiff::host
