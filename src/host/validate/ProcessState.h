// SPDX-License-Identifier: MIT

// What a plug-in must leave alone in the process of its host.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace aiff::host::validate
{

// The state of the process, as names and values: locale, working folder, file mode mask,
// environment, signal handlers and mask, rounding mode.
using ProcessState = std::vector<std::pair<std::string, std::string>>;

ProcessState CurrentState();

// The open descriptors of the process.
int OpenDescriptors();

// Bytes of the heap in use; empty where the allocator does not say. A source per platform.
std::optional<int64_t> HeapInUse();

} // namespace aiff::host::validate
